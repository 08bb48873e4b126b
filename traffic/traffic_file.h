// The text file that traffic is written to.
#pragma once

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "traffic/waiting_write.h"

namespace flowscope {

// One thread may open and close while another writes: whoever writes shares the ownership of the stream, so a close
// in the middle of a write takes effect when the write has ended. No lock is held while writing.
class TrafficFile {
 public:
  // Creates or empties the file called name; what is written goes there from now on. False when it cannot be opened,
  // with the reason in errno (see openFile): what is written then goes nowhere. Either way the stream that
  // was open before is abandoned: only close() ever closes one, so it stays open until the process ends. It may lead to
  // the same file, and holds nothing that could still get there. A write to it waits no longer (see stopWaiting).
  bool open(const char* name);

  // Closes the stream, if there is one; nothing is written any more. A write that is under way waits no longer (see
  // stopWaiting).
  void close();

  // Writes text as it stands, through to the system; nothing without a stream. What the system refuses is missing in
  // the file, and the first time for each stream standard error tells the cause. Blocks as long as the disk, and, where
  // the file is a pipe or a terminal, until its reader has made room.
  void write(std::string_view text) const;

  // From now on, all writes to the open stream together wait at most 100 milliseconds for room. What finds no room by
  // then is lost, with all that comes after it; one line on standard error says so.
  void stopWaiting();

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
    std::atomic<bool> abandoned = false;
    Patience patience;
  };

  std::shared_ptr<Stream> stream_;  // only touched through std::atomic_load and its like
};

}  // namespace flowscope
