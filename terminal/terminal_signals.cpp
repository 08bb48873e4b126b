#include "terminal/terminal_signals.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>

#include "terminal/terminal_mode.h"

namespace flowscope {
namespace {

// Whom a handler tells that the program goes on.
std::atomic<KeySource*> resumedReader{nullptr};

// What a shell makes of a program that a signal has ended.
constexpr int StatusOfSignals = 128;

// Behind the last signal that has a name of its own.
constexpr int FirstReserved = 32;

static_assert(std::atomic<KeySource*>::is_always_lock_free, "signal handlers read the pointer");

void setDisposition(int signal, void (*handler)(int)) noexcept {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

// Has the system do with the signal what it does by default. A fault would come back when its handler returns, but
// not a signal that somebody sent; raising it works for both, and the parent sees it in the status.
void raiseByDefault(int signal) noexcept {
  setDisposition(signal, SIG_DFL);
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

void onFatalSignal(int signal) {
  lendTerminal();
  raiseByDefault(signal);
  // The first process of a system or a container is not ended by its own signals.
  _exit(StatusOfSignals + signal);
}

void onStopSignal(int signal) {
  const int savedErrno = errno;
  lendTerminal();
  raiseByDefault(signal);
  // From here on the process goes on. Or it was never stopped, where no shell is there to continue it.
  setDisposition(signal, onStopSignal);
  if (reclaimTerminal()) tellReader();
  errno = savedErrno;
}

// For stops that cannot be handled; after the others the handler of the stop does this.
void onContinueSignal(int /*signal*/) {
  const int savedErrno = errno;
  if (renewRawMode()) tellReader();
  errno = savedErrno;
}

// A program that faults ends, whoever wants the signal ignored.
bool isOwnFault(int signal) {
  constexpr std::array<int, 7> Faults{SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS};
  return std::find(Faults.begin(), Faults.end(), signal) != Faults.end();
}

// A handler that somebody has installed knows what the signal means, a profiler's for instance. But from a fault it
// could not give the terminal back.
bool isLeftAlone(int signal, const struct sigaction& before) {
  return before.sa_handler != SIG_DFL && !isOwnFault(signal);
}

// What does not end a process by default, and what no process can handle.
bool endsProcess(int signal) {
  constexpr std::array<int, 9> Others{SIGCHLD, SIGCONT, SIGURG, SIGWINCH, SIGTSTP, SIGTTIN, SIGTTOU, SIGSTOP, SIGKILL};
  return std::find(Others.begin(), Others.end(), signal) == Others.end();
}

// Null for a signal that keeps its disposition.
void (*handlerOf(int signal))(int) {
  if (signal == SIGTSTP) return onStopSignal;
  if (signal == SIGCONT) return onContinueSignal;
  return endsProcess(signal) ? onFatalSignal : nullptr;
}

// Between the numbered signals and the real-time signals lie those that the C library keeps for itself.
bool isPublic(int signal) { return signal < FirstReserved || signal >= SIGRTMIN; }

}  // namespace

TerminalSignals::TerminalSignals(KeySource& keys) {
  resumedReader = &keys;
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    void (*const handler)(int) = handlerOf(signal);
    if (handler == nullptr || !isPublic(signal)) continue;
    struct sigaction before {};
    if (sigaction(signal, nullptr, &before) != 0) continue;
    if (isLeftAlone(signal, before)) continue;
    before_.push_back({signal, before});
    setDisposition(signal, handler);
  }
}

TerminalSignals::~TerminalSignals() {
  for (const auto& [signal, action] : before_) sigaction(signal, &action, nullptr);
  resumedReader = nullptr;
}

}  // namespace flowscope
