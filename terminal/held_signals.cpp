#include "terminal/held_signals.h"

#include <poll.h>

#include <algorithm>
#include <csignal>

namespace flowscope {
namespace {

constexpr std::chrono::milliseconds PartingBudget{100};

// Of this thread, and of the handlers that interrupt it. Initialized before any code runs, so a handler may be the
// first to use them.
constinit thread_local std::atomic<int> depth{0};
constinit thread_local std::atomic<int> held{0};

static_assert(std::atomic<int>::is_always_lock_free, "signal handlers use them");

}  // namespace

void beginHoldingSignals() noexcept {
  depth.store(depth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

void endHoldingSignals() noexcept {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  const int outer = depth.load(std::memory_order_relaxed) - 1;
  depth.store(outer, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  if (outer > 0 || held.load(std::memory_order_relaxed) == 0) return;
  ::raise(held.exchange(0, std::memory_order_relaxed));
}

bool holdSignal(int signal) noexcept {
  if (!isHoldingSignals() || held.load(std::memory_order_relaxed) != 0) return false;
  held.store(signal, std::memory_order_relaxed);
  return true;
}

bool isHoldingSignals() noexcept { return depth.load(std::memory_order_relaxed) > 0; }

PartingTime::PartingTime() noexcept : end_(std::chrono::steady_clock::now() + PartingBudget) {}

int PartingTime::left() const noexcept {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
  return static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), PartingBudget).count());
}

void SignalSafeLock::lock() noexcept {
  while (!tryLock()) taken_.wait(true, std::memory_order_relaxed);
}

void SignalSafeLock::unlock() noexcept {
  taken_.clear(std::memory_order_release);
  taken_.notify_one();
  endHoldingSignals();
}

bool SignalSafeLock::lockWithin(const PartingTime& time) noexcept {
  while (!tryLock()) {
    if (time.left() == 0) return false;
    poll(nullptr, 0, 1);
  }
  return true;
}

bool SignalSafeLock::tryLock() noexcept {
  beginHoldingSignals();
  if (!taken_.test_and_set(std::memory_order_acquire)) return true;
  endHoldingSignals();
  return false;
}

}  // namespace flowscope
