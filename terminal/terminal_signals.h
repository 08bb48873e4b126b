// The terminal is given back before a signal ends or stops the program.
#pragma once

#include <array>
#include <csignal>
#include <cstddef>

#include "terminal/alternate_signal_stack.h"
#include "terminal/key_source.h"

namespace flowscope {

// While it lives: SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT and SIGSEGV restore the terminal's saved settings, and the
// process then dies of that same signal. SIGTSTP restores them and stops the process. SIGCONT makes the terminal raw
// again, when the process is in the foreground, and has the reader of the keys told, so that the prompt is drawn on
// the thread that draws it always. Signals that were ignored before stay ignored, but for
// the program's own faults, SIGABRT and SIGSEGV.
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
  static constexpr std::size_t SignalCount = 8;

  AlternateSignalStack stack_;
  std::array<struct sigaction, SignalCount> before_{};
};

}  // namespace flowscope
