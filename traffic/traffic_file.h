// The text file that traffic is written to.
#pragma once

#include <atomic>
#include <cstdio>
#include <memory>
#include <string_view>

namespace flowscope {

// One thread may open and close while another writes: whoever writes shares the ownership of the stream, so a close
// in the middle of a write takes effect when the write has ended. No lock is held while writing.
class TrafficFile {
 public:
  // Writes go to stream from now on; null: nowhere. The stream is owned, but only close() ever closes it: one that
  // another stream takes the place of is abandoned, and stays open until the process ends.
  void open(std::FILE* stream);

  // Closes the stream, if there is one; nothing is written any more.
  void close();

  // Writes text as it stands; nothing without a stream. What the stream refuses is lost.
  void write(std::string_view text) const;

  bool isOpen() const;

 private:
  // Closes its stream, when close() has asked for it, as soon as nobody writes any more.
  struct Stream {
    explicit Stream(std::FILE* stream) : file(stream) {}
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() {
      if (closing) std::fclose(file);
    }

    std::FILE* file;
    std::atomic<bool> closing = false;
  };

  std::shared_ptr<Stream> stream_;  // only touched through std::atomic_load and its like
};

}  // namespace flowscope
