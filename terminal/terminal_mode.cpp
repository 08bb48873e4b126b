#include "terminal/terminal_mode.h"

#include <sched.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

#include "terminal/job_control.h"

namespace flowscope {
namespace {

constexpr int Terminal = 0;

// What this process knows about its terminal. Accessed only under a TerminalGuard.
struct TerminalState {
  termios saved{};
  bool isSaved = false;
  bool rawWanted = false;  // what was requested last; lending does not change it
  bool isRaw = false;      // whether this process has set raw mode
  int lenders = 0;
};

TerminalState state;
std::atomic_flag stateTaken = ATOMIC_FLAG_INIT;

// Whether raw mode still has to be set; updated after every change, for callers that ask often.
std::atomic<bool> rawIsDue{false};

static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers write it");

// Allows one change at a time: a signal handler that sets raw mode must not run between another handler's restore and
// the stop of the process. Handlers cannot wait for a mutex. The guarded code makes only a few system calls, and all
// signals are blocked, so no handler can interrupt it on its own thread and wait for itself. Blocking SIGTTOU also
// keeps a change of settings from stopping a process that goes to the background at that moment.
class TerminalGuard {
 public:
  TerminalGuard() noexcept : errno_(errno) {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &signals_);
    while (stateTaken.test_and_set(std::memory_order_acquire)) sched_yield();
  }
  TerminalGuard(const TerminalGuard&) = delete;
  TerminalGuard& operator=(const TerminalGuard&) = delete;
  ~TerminalGuard() {
    rawIsDue.store(state.rawWanted && !state.isRaw && state.lenders == 0, std::memory_order_relaxed);
    stateTaken.clear(std::memory_order_release);
    pthread_sigmask(SIG_SETMASK, &signals_, nullptr);
    errno = errno_;
  }

 private:
  int errno_;
  sigset_t signals_{};
};

// The result may become wrong before the change that follows. Shells prevent this: they take the terminal from a
// program that has stopped, and give it back before they continue the program.
bool othersHaveTerminal() noexcept { return inBackgroundOf(Terminal); }

bool restoreSettings() noexcept {
  state.isRaw = false;
  return state.isSaved && !othersHaveTerminal() && tcsetattr(Terminal, TCSANOW, &state.saved) == 0;
}

bool applyRawSettings() noexcept {
  if (!state.isSaved && tcgetattr(Terminal, &state.saved) != 0) return false;
  state.isSaved = true;
  termios settings = state.saved;
  settings.c_iflag &= ~static_cast<tcflag_t>(BRKINT | ISTRIP | IXON);
  settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ECHOE | ECHOK | ECHONL | IEXTEN);
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  state.isRaw = true;
  return tcsetattr(Terminal, TCSANOW, &settings) == 0;
}

bool renewIfOurs() noexcept {
  if (!state.rawWanted || state.lenders > 0) return false;
  if (!othersHaveTerminal()) return applyRawSettings();
  state.isRaw = false;
  return false;
}

bool isTerminal() noexcept {
  termios current{};
  return tcgetattr(Terminal, &current) == 0;
}

}  // namespace

bool setTerminalMode(TerminalMode mode) {
  const TerminalGuard guard;
  state.rawWanted = mode == TerminalMode::Raw && isTerminal();
  // The terminal does not become raw while a signal handler on another thread has lent it, to stop or to die.
  return mode == TerminalMode::Raw ? renewIfOurs() : restoreSettings();
}

void lendTerminal() noexcept {
  const TerminalGuard guard;
  ++state.lenders;
  // If it is not raw, the terminal may belong to another program by now.
  if (state.isRaw) restoreSettings();
}

bool reclaimTerminal() noexcept {
  const TerminalGuard guard;
  --state.lenders;
  return renewIfOurs();
}

bool renewRawMode() noexcept {
  const TerminalGuard guard;
  return renewIfOurs();
}

bool catchUpRawMode() noexcept {
  if (!rawIsDue.load(std::memory_order_relaxed)) return false;
  const TerminalGuard guard;
  // A terminal that no longer controls this session belongs to another program.
  return !state.isRaw && tcgetpgrp(Terminal) == getpgrp() && renewIfOurs();
}

SavedModeScope::SavedModeScope() {
  const TerminalGuard guard;
  wasRaw_ = state.rawWanted;
  state.rawWanted = false;
  if (wasRaw_) restoreSettings();
}

SavedModeScope::~SavedModeScope() {
  if (!wasRaw_) return;
  const TerminalGuard guard;
  state.rawWanted = true;
  renewIfOurs();
}

}  // namespace flowscope
