// The signals that the system sends to a process whose write fails.
#pragma once

#include <csignal>

namespace flowscope {

// While the object lives, a failed write of this thread to a pipe without a reader, or beyond the largest size of a
// file, does not end the program: its signal (SIGPIPE, SIGXFSZ) is blocked, and take() removes it. The same signals
// from another process still end the program, if another thread does not block them. Child processes inherit no ignored
// signal. Create and destroy it on the same thread. An object inside the life of another one on the same thread costs
// no system call.
class WriteSignals {
 public:
  WriteSignals();
  WriteSignals(const WriteSignals&) = delete;
  WriteSignals& operator=(const WriteSignals&) = delete;
  ~WriteSignals();

  // Removes the signal that a failed write has raised, if error (an errno) is one that raises a signal. Call this after
  // each write that failed.
  void take(int error) const;

 private:
  const WriteSignals* outer_;
  sigset_t before_{};
  sigset_t waiting_{};
};

}  // namespace flowscope
