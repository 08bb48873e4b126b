#include "platform/streamctl/stop_signals.h"

#include <poll.h>

#include <algorithm>
#include <atomic>
#include <ctime>

namespace streamctl {
namespace {

constexpr std::array<int, 2> Signals{SIGINT, SIGTERM};

std::atomic<int> latest{0};

static_assert(std::atomic<int>::is_always_lock_free, "signal handlers write it");

void remember(int signal) { latest = signal; }

std::chrono::nanoseconds steadyNow() { return std::chrono::steady_clock::now().time_since_epoch(); }

}  // namespace

StopSignals::StopSignals() {
  latest = 0;
  // Calls that wait are interrupted, or the wish would only be seen when they are over.
  struct sigaction action {};
  action.sa_handler = remember;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < Signals.size(); ++i) {
    sigaction(Signals.at(i), nullptr, &before_.at(i));
    if (before_.at(i).sa_handler != SIG_IGN) sigaction(Signals.at(i), &action, nullptr);
  }
}

StopSignals::~StopSignals() {
  for (std::size_t i = 0; i < Signals.size(); ++i) sigaction(Signals.at(i), &before_.at(i), nullptr);
}

int StopSignals::caught() const { return latest; }

void StopSignals::waitUntil(std::chrono::nanoseconds time) const {
  // Held back until the wait begins: a signal between the look and the wait would be slept through.
  sigset_t both;
  sigset_t before;
  sigemptyset(&both);
  for (const int signal : Signals) sigaddset(&both, signal);
  pthread_sigmask(SIG_BLOCK, &both, &before);
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
