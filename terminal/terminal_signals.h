// The terminal is given back before a signal ends or stops the program.
#pragma once

#include <csignal>
#include <vector>

#include "terminal/alternate_signal_stack.h"
#include "terminal/key_source.h"

namespace flowscope {

// While it lives, every signal that ends a process by default, real-time signals among them, restores the terminal's
// saved settings first; the process then dies of that same signal, as its parent sees. The first process of a system or
// a container, which its own signals do not end, exits with 128 and the signal's number. SIGTSTP restores them and
// stops the process. SIGCONT makes the terminal raw again, when the process is not in the background, and has the
// reader of the keys told, so that the prompt is drawn on the thread that draws it always. Signals that were ignored or
// handled before stay so, but for the program's own faults: SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS.
//
// For an interactive shell, one at a time; made and destroyed on the same thread. The handlers use an alternate stack
// on that thread; other threads bring their own AlternateSignalStack.
class TerminalSignals {
 public:
  // The key source is borrowed and must outlive this object.
  explicit TerminalSignals(KeySource& keys);
  TerminalSignals(const TerminalSignals&) = delete;
  TerminalSignals& operator=(const TerminalSignals&) = delete;
  // What was done with the signals before is done again.
  ~TerminalSignals();

 private:
  struct Disposition {
    int signal;
    struct sigaction action;
  };

  AlternateSignalStack stack_;
  std::vector<Disposition> before_;
};

}  // namespace flowscope
