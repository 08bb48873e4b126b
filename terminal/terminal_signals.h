// Restores the terminal and writes what waits in memory before a signal ends or stops the program.
#pragma once

#include <csignal>
#include <vector>

#include "terminal/alternate_signal_stack.h"
#include "terminal/key_source.h"

namespace flowscope {

// While the object lives, every signal that ends a process by default, including real-time signals, first restores the
// terminal's saved settings and writes what waits in memory (see PartingText); the process then dies of that same
// signal, and its parent sees that. A thread that is just writing finishes its step first (see holdSignal). The first
// process of a system or a container does not die of its own signals; it exits with 128 plus the signal's number.
// SIGTSTP restores the settings, writes what waits and stops the process. SIGCONT makes the terminal raw again, if the
// process is not in the background, and notifies the reader of the keys, so that the input thread draws the prompt.
// Signals that were ignored or handled before stay so, except for the program's own faults: SIGSEGV, SIGABRT, SIGBUS,
// SIGFPE, SIGILL, SIGTRAP, SIGSYS.
//
// One object at a time, created and destroyed on the same thread. Where the terminal never becomes raw, its settings
// are not touched. The handlers use an alternate stack on that thread; other threads need their own
// AlternateSignalStack.
class TerminalSignals {
 public:
  // The key source is borrowed and must outlive this object.
  explicit TerminalSignals(KeySource& keys);
  TerminalSignals(const TerminalSignals&) = delete;
  TerminalSignals& operator=(const TerminalSignals&) = delete;
  // Restores the previous dispositions of the signals.
  ~TerminalSignals();

 private:
  struct Disposition {
    int signal;
    struct sigaction action;
  };

  AlternateSignalStack stack_;
  // Most signals had the default action before, which needs no record.
  sigset_t byDefault_{};
  std::vector<Disposition> before_;
};

}  // namespace flowscope
