#include "terminal/held_signals.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "terminal/own_opening.h"

namespace flowscope {
namespace {

constexpr std::chrono::milliseconds PartingBudget{100};

// Of this thread, and of the handlers that interrupt it. Initialized before any code runs, so a handler may be the
// first to use them.
constinit thread_local std::atomic<int> depth{0};
constinit thread_local std::atomic<int> held{0};
constinit thread_local std::atomic<int> blocking{-1};     // the descriptor of the BlockingStep
constinit thread_local std::atomic<int> flagsBefore{-1};  // of it, to set again

static_assert(std::atomic<int>::is_always_lock_free, "signal handlers use them");

// For the handler that holds a signal.
void stopBlocking(int descriptor) noexcept {
  const int savedErrno = errno;
  const Behind behind = whatIsBehind(descriptor);
  const int opened = behind == Behind::Pipe || behind == Behind::Terminal ? openAgain(descriptor) : -1;
  if (opened >= 0) {
    // The signal ends the program, so nobody needs the shared opening here any more.
    dup2(opened, descriptor);
    close(opened);
  } else if (behind != Behind::Other) {
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags >= 0 && (flags & O_NONBLOCK) == 0 && fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) == 0) {
      flagsBefore.store(flags, std::memory_order_relaxed);
    }
  }
  errno = savedErrno;
}

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
  const int descriptor = blocking.load(std::memory_order_relaxed);
  if (descriptor >= 0) stopBlocking(descriptor);
  return true;
}

bool isHoldingSignals() noexcept { return depth.load(std::memory_order_relaxed) > 0; }

BlockingStep::BlockingStep(int descriptor) noexcept {
  blocking.store(descriptor, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

BlockingStep::~BlockingStep() {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  const int descriptor = blocking.exchange(-1, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  const int flags = flagsBefore.exchange(-1, std::memory_order_relaxed);
  if (flags < 0) return;
  const int savedErrno = errno;
  fcntl(descriptor, F_SETFL, flags);
  errno = savedErrno;
}

bool BlockingStep::isTooLate() const noexcept { return held.load(std::memory_order_relaxed) != 0; }

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
