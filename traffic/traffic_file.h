// The text file that traffic is written to.
#pragma once

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace flowscope {

// One thread may open and close while another writes: whoever writes shares the ownership of the stream, so a close
// in the middle of a write takes effect when the write has ended. No lock is held while writing.
class TrafficFile {
 public:
  // Creates or empties the file called name; what is written goes there from now on. False when it cannot be opened:
  // what is written then goes nowhere. Either way the stream that was open before is abandoned: only close() ever
  // closes one, so it stays open until the process ends. It may lead to the same file, and holds nothing that could
  // still get there.
  bool open(const char* name);

  // Closes the stream, if there is one; nothing is written any more.
  void close();

  // Writes text as it stands, through to the system; nothing without a stream. What the system refuses is missing in
  // the file, and the first time for each stream standard error tells the cause. Blocks as long as the disk.
  void write(std::string_view text) const;

  bool isOpen() const;

 private:
  // Closes its stream, when close() has asked for it, as soon as nobody writes any more.
  struct Stream {
    Stream(std::FILE* stream, const char* fileName) : file(stream), name(fileName) {}
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() {
      if (closing) std::fclose(file);
    }

    std::FILE* file;
    std::string name;
    std::atomic<bool> closing = false;
    std::atomic<bool> refused = false;
  };

  std::shared_ptr<Stream> stream_;  // only touched through std::atomic_load and its like
};

}  // namespace flowscope
