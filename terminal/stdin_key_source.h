// Bytes from standard input, with a way to wake the reader.
#pragma once

#include <atomic>
#include <cstdio>

#include "terminal/key_source.h"

namespace flowscope {

// Reads a stream on one thread at a time. The stream is made unbuffered, so nobody may have read from it before. Both
// streams must outlive this object.
class StdinKeySource final : public KeySource {
 public:
  // out: what is flushed before each wait. Throws std::system_error when the system refuses a descriptor for waking.
  explicit StdinKeySource(std::FILE* in = stdin, std::FILE* out = stdout);
  ~StdinKeySource() override;

  // Flushes the output before it waits, so that the user sees what to answer. A read that a signal interrupts is
  // restarted. InputResumed comes before keys that are waiting. Input that arrives while the process is in the
  // background of the terminal stops the process.
  int readByte() override;

  void stop() override;

  void notifyResumed() noexcept override;

 private:
  // Whether to read now, to look for input again, or never to read again.
  enum class Turn { Ours, Passed, Never };

  bool awaitByte();
  Turn askForTurn();
  bool hasInput() const;
  void wake() noexcept;

  std::FILE* in_;
  std::FILE* out_;
  int wakeDescriptor_;
  std::atomic<bool> stopped_{false};
  std::atomic<bool> resumed_{false};
};

static_assert(std::atomic<bool>::is_always_lock_free, "the flags are set from signal handlers");

}  // namespace flowscope
