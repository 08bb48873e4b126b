// Lets one thread know that another has left what it was doing.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace drivers::jack {

// Around what the process callback does in one period.
class ProcessGate {
 public:
  // The process callback's.
  void enter() { passes_.fetch_add(1); }
  void leave() { passes_.fetch_add(1); }

  // The service's: comes back when a callback that had begun before has ended. So what was taken from its sight before
  // this is its no more. Blocks for a fraction of a period.
  void pass() const {
    const std::uint64_t begun = passes_.load();
    if (begun % 2 == 0) return;
    while (passes_.load() == begun) std::this_thread::sleep_for(std::chrono::microseconds(50));
  }

 private:
  std::atomic<std::uint64_t> passes_{0};  // odd: inside
};

}  // namespace drivers::jack
