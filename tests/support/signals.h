// The signals of the system.
#pragma once

#include <csignal>
#include <string>
#include <vector>

namespace testsupport {

// The signals that end a process by default and can be handled, in the order of their numbers, with all real-time
// signals.
inline std::vector<int> endingSignals() {
  std::vector<int> signals{SIGHUP,  SIGINT,    SIGQUIT, SIGILL,  SIGTRAP, SIGABRT, SIGBUS,    SIGFPE,
                           SIGUSR1, SIGSEGV,   SIGUSR2, SIGPIPE, SIGALRM, SIGTERM, SIGSTKFLT, SIGXCPU,
                           SIGXFSZ, SIGVTALRM, SIGPROF, SIGIO,   SIGPWR,  SIGSYS};
  for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) signals.push_back(signal);
  return signals;
}

// The signals that end a program after a fault, even if it ignores them.
inline std::vector<int> faultSignals() { return {SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS}; }

// "TERM", "RTMIN3".
inline std::string signalName(int signal) {
  if (signal >= SIGRTMIN) return "RTMIN" + std::to_string(signal - SIGRTMIN);
  return sigabbrev_np(signal);
}

}  // namespace testsupport
