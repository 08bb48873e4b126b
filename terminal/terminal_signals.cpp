#include "terminal/terminal_signals.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>

#include "terminal/held_signals.h"
#include "terminal/parting_text.h"
#include "terminal/terminal_mode.h"

namespace flowscope {
namespace {

// The key source that a handler notifies when the program continues.
std::atomic<KeySource*> resumedReader{nullptr};

// For a program that a signal ended, a shell reports this plus the signal's number.
constexpr int StatusOfSignals = 128;

// The number after the last signal that has a name.
constexpr int FirstReserved = 32;

static_assert(std::atomic<KeySource*>::is_always_lock_free, "signal handlers read the pointer");

void setDisposition(int signal, void (*handler)(int), int flags) noexcept {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

// A handler for a signal after which the program continues.
void setReturning(int signal, void (*handler)(int)) noexcept {
  setDisposition(signal, handler, SA_RESTART | SA_ONSTACK);
}

// A handler for a signal that ends the program. A write that it interrupts is not restarted, because the thread that
// holds the signal must not wait for room. While it runs, no other signal does: it writes where nobody may read.
void setEnding(int signal, void (*handler)(int)) noexcept {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_ONSTACK;
  sigfillset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

// Lets the system apply the signal's default action. A fault would occur again when its handler returns, but a signal
// that a process sent would not; raising it works for both, and the parent sees it in the status.
void raiseByDefault(int signal) noexcept {
  setDisposition(signal, SIG_DFL, 0);
  ::raise(signal);
  sigset_t only;
  sigset_t before;
  sigemptyset(&only);
  sigaddset(&only, signal);
  pthread_sigmask(SIG_UNBLOCK, &only, &before);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void tellReader() noexcept {
  if (KeySource* reader = resumedReader.load()) reader->notifyResumed();
}

// A program that faults ends, even if the signal was ignored before.
bool isOwnFault(int signal) {
  constexpr std::array<int, 7> Faults{SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS};
  return std::find(Faults.begin(), Faults.end(), signal) != Faults.end();
}

void onFatalSignal(int signal) {
  if (!isOwnFault(signal) && holdSignal(signal)) return;
  lendTerminal();
  writePartingTexts();
  raiseByDefault(signal);
  // The first process of a system or a container is not ended by its own signals.
  _exit(StatusOfSignals + signal);
}

void onStopSignal(int signal) {
  const int savedErrno = errno;
  lendTerminal();
  // What this thread is writing waits until the process continues.
  if (!isHoldingSignals()) writePartingTexts();
  raiseByDefault(signal);
  // The process continues here. Without a shell that could continue it, it was never stopped.
  setReturning(signal, onStopSignal);
  if (reclaimTerminal()) tellReader();
  errno = savedErrno;
}

// For stops that cannot be handled; after SIGTSTP, its handler does this.
void onContinueSignal(int /*signal*/) {
  const int savedErrno = errno;
  if (renewRawMode()) tellReader();
  errno = savedErrno;
}

// A handler installed before knows what the signal means, a profiler's for instance. But after a fault it could not
// restore the terminal.
bool isLeftAlone(int signal, const struct sigaction& before) {
  return before.sa_handler != SIG_DFL && !isOwnFault(signal);
}

// False for signals that do not end a process by default, and for those that no process can handle.
bool endsProcess(int signal) {
  constexpr std::array<int, 9> Others{SIGCHLD, SIGCONT, SIGURG, SIGWINCH, SIGTSTP, SIGTTIN, SIGTTOU, SIGSTOP, SIGKILL};
  return std::find(Others.begin(), Others.end(), signal) == Others.end();
}

// Returns false for a signal that keeps its disposition.
bool isHandled(int signal) { return signal == SIGTSTP || signal == SIGCONT || endsProcess(signal); }

void setHandler(int signal) {
  if (signal == SIGTSTP) return setReturning(signal, onStopSignal);
  if (signal == SIGCONT) return setReturning(signal, onContinueSignal);
  setEnding(signal, onFatalSignal);
}

// The C library reserves the signals between the numbered and the real-time ones.
bool isPublic(int signal) { return signal < FirstReserved || signal >= SIGRTMIN; }

}  // namespace

TerminalSignals::TerminalSignals(KeySource& keys) {
  resumedReader = &keys;
  sigemptyset(&byDefault_);
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    if (!isHandled(signal) || !isPublic(signal)) continue;
    struct sigaction before {};
    if (sigaction(signal, nullptr, &before) != 0) continue;
    if (isLeftAlone(signal, before)) continue;
    if (before.sa_handler == SIG_DFL) {
      sigaddset(&byDefault_, signal);
    } else {
      before_.push_back({signal, before});
    }
    setHandler(signal);
  }
}

TerminalSignals::~TerminalSignals() {
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    if (sigismember(&byDefault_, signal) == 1) setDisposition(signal, SIG_DFL, 0);
  }
  for (const auto& [signal, action] : before_) sigaction(signal, &action, nullptr);
  resumedReader = nullptr;
}

}  // namespace flowscope
