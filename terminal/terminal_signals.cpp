#include "terminal/terminal_signals.h"

#include <atomic>
#include <cerrno>

#include "terminal/terminal_mode.h"

namespace flowscope {
namespace {

// Whom a handler tells that the program goes on.
std::atomic<KeySource*> resumedReader{nullptr};

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

struct Handling {
  int signal;
  void (*handler)(int);
};

constexpr std::array<Handling, 8> Handlings{{
    {SIGINT, onFatalSignal},
    {SIGTERM, onFatalSignal},
    {SIGHUP, onFatalSignal},
    {SIGQUIT, onFatalSignal},
    {SIGABRT, onFatalSignal},
    {SIGSEGV, onFatalSignal},
    {SIGTSTP, onStopSignal},
    {SIGCONT, onContinueSignal},
}};

// A program that faults ends, whoever wants the signal ignored.
bool isOwnFault(int signal) { return signal == SIGSEGV || signal == SIGABRT; }

}  // namespace

TerminalSignals::TerminalSignals(KeySource& keys) {
  static_assert(Handlings.size() == SignalCount);
  resumedReader = &keys;
  for (std::size_t i = 0; i < Handlings.size(); ++i) {
    sigaction(Handlings.at(i).signal, nullptr, &before_.at(i));
    if (before_.at(i).sa_handler != SIG_IGN || isOwnFault(Handlings.at(i).signal))
      setDisposition(Handlings.at(i).signal, Handlings.at(i).handler);
  }
}

TerminalSignals::~TerminalSignals() {
  for (std::size_t i = 0; i < Handlings.size(); ++i) sigaction(Handlings.at(i).signal, &before_.at(i), nullptr);
  resumedReader = nullptr;
}

}  // namespace flowscope
