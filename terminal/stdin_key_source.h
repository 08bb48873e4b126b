// Bytes from standard input, with a way to wake the reader.
#pragma once

#include <atomic>
#include <cstdio>

#include "terminal/key_source.h"

namespace flowscope {

// Reads a stream on one thread at a time. The stream is made unbuffered, so nobody may have read from it before, and
// must outlive this object.
class StdinKeySource final : public KeySource {
 public:
  // Throws std::system_error when the system refuses a descriptor for waking.
  explicit StdinKeySource(std::FILE* in = stdin);
  ~StdinKeySource() override;

  // Flushes standard output before it waits, so that what the reader is asked is on the screen. A read that a signal
  // interrupted is taken up again. Keys that are waiting come after a notice of resumption.
  int readByte() override;

  void stop() override;

  void notifyResumed() noexcept override;

 private:
  bool awaitByte();
  void wake() noexcept;

  std::FILE* in_;
  int wakeDescriptor_;
  std::atomic<bool> stopped_{false};
  std::atomic<bool> resumed_{false};
};

static_assert(std::atomic<bool>::is_always_lock_free, "the flags are set from signal handlers");

}  // namespace flowscope
