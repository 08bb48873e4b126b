// The text file that traffic is written to.
#pragma once

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "traffic/waiting_write.h"

namespace flowscope {

// One thread may open and close while another writes: the writer shares the ownership of the stream, so a close during
// a write takes effect after the write. Writing holds no lock.
class TrafficFile {
 public:
  // Creates or empties the file with this name; later writes go there. Returns false if it cannot be opened, with the
  // reason in errno (see openFile): later writes then go nowhere. In both cases the old stream stays open until the
  // process ends, because only close() closes one; it is unbuffered, so nothing is written later, even if it leads to
  // the same file. A write in progress to it waits no longer than after stopWaiting.
  bool open(const char* name);

  // Closes the stream, if there is one; nothing is written after that. A write in progress waits no longer than after
  // stopWaiting.
  void close();

  // Writes text unchanged, through to the system; does nothing without a stream. Text that the system refuses is
  // missing in the file; the first time for each stream, one line on standard error says why. Blocks for the disk, and,
  // if the file is a pipe or a terminal, until its reader has made room.
  void write(std::string_view text) const;

  // From now on, all writes to the open stream together wait at most 100 milliseconds for room. Text that finds no room
  // by then is lost, with everything after it; one line on standard error says so.
  void stopWaiting();

  bool isOpen() const;

 private:
  // Closes its stream, if close() was called, as soon as no writer uses it.
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

  std::shared_ptr<Stream> stream_;  // accessed only through std::atomic_load and similar functions
};

}  // namespace flowscope
