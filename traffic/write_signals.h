// The signals that the system sends to who writes what cannot be written.
#pragma once

#include <csignal>

namespace flowscope {

// While it lives, a write of this thread to a pipe that nobody reads any more, or beyond the size that a file may have,
// is an error and no more; the system's signal for it would end the program. The same signals from somebody else end
// it all the same. Nothing that the process starts inherits any of this, as it would inherit an ignored signal.
// Belongs to the thread that makes it.
class WriteSignals {
 public:
  WriteSignals();
  WriteSignals(const WriteSignals&) = delete;
  WriteSignals& operator=(const WriteSignals&) = delete;
  ~WriteSignals();

  // Takes back the signal that a write has raised which failed with this error (an errno), if it raises any. To be
  // called after each write that failed.
  void take(int error) const;

 private:
  sigset_t before_{};
  sigset_t waiting_{};
};

}  // namespace flowscope
