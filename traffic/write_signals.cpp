#include "traffic/write_signals.h"

#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace flowscope {
namespace {

// The outermost object of this thread.
thread_local const WriteSignals* outermost = nullptr;

// Returns the signal that a write raises with an error, or 0.
int signalOf(int error) {
  if (error == EPIPE) return SIGPIPE;
  return error == EFBIG ? SIGXFSZ : 0;
}

}  // namespace

WriteSignals::WriteSignals() : outer_(outermost) {
  if (outer_ != nullptr) {
    waiting_ = outer_->waiting_;
    return;
  }
  sigset_t both;
  sigemptyset(&both);
  sigaddset(&both, SIGPIPE);
  sigaddset(&both, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &both, &before_);
  sigemptyset(&waiting_);
  // Only a signal that was already blocked can be pending.
  if (sigismember(&before_, SIGPIPE) == 1 || sigismember(&before_, SIGXFSZ) == 1) sigpending(&waiting_);
  // Last: a signal handler that comes before must block the signals itself.
  outermost = this;
}

WriteSignals::~WriteSignals() {
  if (outer_ != nullptr) return;
  outermost = nullptr;
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void WriteSignals::take(int error) const {
  const int signal = signalOf(error);
  // A signal that was pending before does not come from the write.
  if (signal == 0 || sigismember(&waiting_, signal) == 1) return;
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  const timespec now{};
  siginfo_t taken{};
  int answer = 0;
  do {
    answer = sigtimedwait(&only, &taken, &now);
  } while (answer < 0 && errno == EINTR);
  // Signals for the thread, like the write's, come before those for the process. A file at the limit of what its system
  // can hold raises none; then this signal may come from another process.
  if (answer == signal && taken.si_pid != getpid()) kill(getpid(), signal);
}

}  // namespace flowscope
