// The text file that traffic is written to.
#pragma once

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "terminal/parting_text.h"
#include "terminal/pending_text.h"
#include "traffic/waiting_write.h"

namespace flowscope {

// One thread may open and close while another writes: the writer shares the ownership of the stream, so a close during
// a write takes effect after the write. While a thread waits for room it holds no lock.
class TrafficFile {
 public:
  // Creates or empties the file with this name; later writes go there. Returns false if it cannot be opened, with the
  // reason in errno (see openFile): later writes then go nowhere. In both cases the old stream stays open until the
  // process ends, because only close() closes one. What it has collected is written before the new file is opened, and
  // from then on it collects nothing: so nothing is written later, even if it leads to the same file. A write in
  // progress to it waits no longer than after stopWaiting.
  bool open(const char* name);

  // Writes what is collected and closes the stream, if there is one; nothing is written after that. Waits for room no
  // longer than after stopWaiting.
  void close();

  // Writes text unchanged, through to the system, after what is collected; does nothing without a stream. Text that the
  // system refuses is missing in the file; the first time for each stream, one line on standard error says why. Blocks
  // for the disk, and, if the file is a pipe or a terminal, until its reader has made room.
  void write(std::string_view text) const;

  // Like write, but the text waits in memory for the next flush, or until 64 KiB wait. If a signal ends the program,
  // its handler writes what waits (see PartingText).
  void collect(std::string_view text) const;

  // Writes what is collected, as write does.
  void flush() const;

  // The same without waiting for a reader. Returns false if text stays behind because there is no room.
  bool flushNow() const;

  // From now on, all writes to the open stream together wait at most 100 milliseconds for room. Text that finds no room
  // by then is lost, with everything after it; one line on standard error says so.
  void stopWaiting();

  bool isOpen() const;

 private:
  class Stream;

  std::shared_ptr<Stream> stream_;  // accessed only through std::atomic_load and similar functions
};

}  // namespace flowscope
