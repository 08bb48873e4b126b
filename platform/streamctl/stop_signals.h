// Signals that ask the program to end.
#pragma once

#include <array>
#include <chrono>
#include <csignal>
#include <span>
#include <vector>

namespace streamctl {

// During its lifetime, its signals are stored instead of ending the process; the second of the same kind ends it at
// once. Signals that were ignored before stay ignored. Only one object at a time, created and destroyed on the main
// thread.
class StopSignals {
 public:
  // The signals by which users and programs ask for the end.
  static constexpr std::array Asking{SIGINT, SIGTERM};

  // Those, and the other signals that end a program from outside, for example when a terminal closes.
  static constexpr std::array Ending{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2};

  // signals must stay valid as long as this object.
  explicit StopSignals(std::span<const int> signals = Asking);
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;
  // Restores the previous signal handlers.
  ~StopSignals();

  // The number of the latest signal; 0 if none has arrived.
  int caught() const;

  // Waits until this time of the steady clock or until a signal that has not been handled arrives. Returns at once if
  // caught() is not 0 or the time has passed.
  void waitUntil(std::chrono::nanoseconds time) const;

  // Ends the process by the signal that has arrived, as its parent expects; returns if none has.
  void passOn();

 private:
  std::span<const int> signals_;
  std::vector<struct sigaction> before_;
};

}  // namespace streamctl
