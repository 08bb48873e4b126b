// Reads bytes from standard input, with a way to wake the reader.
#pragma once

#include <atomic>
#include <cstdio>

#include "terminal/key_source.h"

namespace flowscope {

// Reads a stream on one thread at a time. Makes the stream unbuffered, so nothing may have read from it before. Both
// streams must outlive this object.
class StdinKeySource final : public KeySource {
 public:
  // out: the stream to flush before each wait. Throws std::system_error if the system refuses the descriptor for
  // waking.
  explicit StdinKeySource(std::FILE* in = stdin, std::FILE* out = stdout);
  ~StdinKeySource() override;

  // Flushes the output before it waits, so that the user sees what to answer. Restarts a read that a signal interrupts.
  // Returns InputResumed before keys that are waiting. If input arrives while the process is in the background of the
  // terminal, the process stops.
  int readByte() override;

  void stop() override;

  void notifyResumed() noexcept override;

 private:
  // Ours: read now. Passed: look for input again. Never: do not read again.
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
