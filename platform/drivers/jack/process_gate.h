// Lets one thread wait until another has left a section of code.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace drivers::jack {

// Encloses what the process callback does in one period.
class ProcessGate {
 public:
  // For the process callback.
  void enter() { passes_.fetch_add(1); }
  void leave() { passes_.fetch_add(1); }

  // For other threads. Blocks until a callback that has begun before has ended, a fraction of a period. After that, the
  // callback no longer uses what was unpublished before the call.
  void pass() const {
    const std::uint64_t begun = passes_.load();
    if (begun % 2 == 0) return;
    while (passes_.load() == begun) std::this_thread::sleep_for(std::chrono::microseconds(50));
  }

 private:
  std::atomic<std::uint64_t> passes_{0};  // odd: inside the callback
};

}  // namespace drivers::jack
