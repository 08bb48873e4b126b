#include "platform/streamctl/stop_signals.h"

#include <poll.h>

#include <algorithm>
#include <atomic>
#include <ctime>

namespace streamctl {
namespace {

std::atomic<int> latest{0};

static_assert(std::atomic<int>::is_always_lock_free, "signal handlers write it");

void remember(int signal) { latest = signal; }

std::chrono::nanoseconds steadyNow() { return std::chrono::steady_clock::now().time_since_epoch(); }

}  // namespace

StopSignals::StopSignals(std::span<const int> signals) : signals_(signals), before_(signals.size()) {
  latest = 0;
  // Without SA_RESTART, so that a signal interrupts blocking calls.
  struct sigaction action {};
  action.sa_handler = remember;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < signals_.size(); ++i) {
    sigaction(signals_[i], nullptr, &before_[i]);
    if (before_[i].sa_handler != SIG_IGN) sigaction(signals_[i], &action, nullptr);
  }
}

StopSignals::~StopSignals() {
  for (std::size_t i = 0; i < signals_.size(); ++i) sigaction(signals_[i], &before_[i], nullptr);
}

int StopSignals::caught() const { return latest; }

void StopSignals::waitUntil(std::chrono::nanoseconds time) const {
  // Blocked until ppoll begins: a signal between the check and the wait would be missed.
  sigset_t all;
  sigset_t before;
  sigemptyset(&all);
  for (const int signal : signals_) sigaddset(&all, signal);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  const auto left = std::max(time - steadyNow(), std::chrono::nanoseconds(0));
  const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
  const timespec timeout{static_cast<std::time_t>(seconds.count()), static_cast<long>((left - seconds).count())};
  if (latest == 0) ppoll(nullptr, 0, &timeout, &before);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void StopSignals::passOn() {
  const int signal = latest;
  if (signal == 0) return;
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
  ::raise(signal);
}

}  // namespace streamctl
