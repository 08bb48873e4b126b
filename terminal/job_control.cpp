#include "terminal/job_control.h"

#include <unistd.h>

#include <csignal>

namespace flowscope {

bool inBackgroundOf(int terminal) noexcept {
  const pid_t foreground = tcgetpgrp(terminal);
  return foreground >= 0 && foreground != getpgrp();
}

namespace {

// Ignores SIGTTIN for a moment, which also drops pending ones.
void ignoreStops(const struct sigaction& afterwards, bool sendToGroup) noexcept {
  struct sigaction ignored {};
  ignored.sa_handler = SIG_IGN;
  sigaction(SIGTTIN, &ignored, nullptr);
  if (sendToGroup) kill(0, SIGTTIN);
  sigaction(SIGTTIN, &afterwards, nullptr);
}

}  // namespace

void stopForInput(int terminal) noexcept {
  struct sigaction before {};
  sigaction(SIGTTIN, nullptr, &before);
  if (before.sa_handler == SIG_IGN) return;
  // Stops the others of the group. A signal to the whole process stops it some time later; a signal that a thread
  // raises for itself stops it before the call returns.
  ignoreStops(before, true);
  sigset_t stop;
  sigset_t mask;
  sigemptyset(&stop);
  sigaddset(&stop, SIGTTIN);
  pthread_sigmask(SIG_BLOCK, &stop, &mask);
  raise(SIGTTIN);
  // A shell that gives the terminal to the process sends SIGCONT next, which drops a pending stop. But a stop raised
  // after that SIGCONT would stop the process in the foreground.
  if (!inBackgroundOf(terminal) || sigismember(&mask, SIGTTIN) == 1) ignoreStops(before, false);
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

}  // namespace flowscope
