// A mutex that serves waiting threads in the order of their lock calls.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace channel {

// Not recursive. A thread that locks and unlocks it without a pause cannot starve others.
class FairMutex {
 public:
  void lock() {
    std::unique_lock guard(mutex_);
    const std::uint64_t ticket = nextTicket_++;
    turn_.wait(guard, [&] { return serving_ == ticket; });
  }

  // Returns false, without waiting, if another thread holds the mutex or waits for it.
  bool try_lock() {
    const std::lock_guard guard(mutex_);
    if (serving_ != nextTicket_) return false;
    ++nextTicket_;
    return true;
  }

  void unlock() {
    bool waited = false;
    {
      const std::lock_guard guard(mutex_);
      waited = ++serving_ != nextTicket_;
    }
    if (waited) turn_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable turn_;
  std::uint64_t nextTicket_ = 0;
  std::uint64_t serving_ = 0;
};

}  // namespace channel
