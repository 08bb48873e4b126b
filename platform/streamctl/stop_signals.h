// Signals that ask the program to end.
#pragma once

#include <array>
#include <chrono>
#include <csignal>
#include <span>
#include <vector>

namespace streamctl {

// While it lives, its signals do not end the process but are remembered; the second of a kind ends it at once. Signals
// that were ignored before stay ignored. One at a time, made and destroyed on the main thread.
class StopSignals {
 public:
  // With which people and programs end a program.
  static constexpr std::array Asking{SIGINT, SIGTERM};

  // Those, and others that end a program from outside, such as that of a terminal that goes away.
  static constexpr std::array Ending{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2};

  // signals must outlive this object.
  explicit StopSignals(std::span<const int> signals = Asking);
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;
  // What was done with the signals before is done again.
  ~StopSignals();

  // Number of the latest signal; 0 when none has come.
  int caught() const;

  // Waits until the time, by the steady clock, or until a signal that has not been handled comes. Returns at once when
  // caught() is not 0, or the time has passed.
  void waitUntil(std::chrono::nanoseconds time) const;

  // Dies of the signal that has come, as whoever started the process expects; returns when none has.
  void passOn();

 private:
  std::span<const int> signals_;
  std::vector<struct sigaction> before_;
};

}  // namespace streamctl
