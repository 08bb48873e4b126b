// How long the longest of several operations takes.
#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>

#include "tests/support/sanitizer.h"

namespace service {

// Ten times what an operation of the service may take on a workstation; more under a sanitizer, without optimization,
// and for 32-bit ARM, whose instructions are emulated here.
#if defined(__OPTIMIZE__) && !defined(__arm__)
inline constexpr std::chrono::milliseconds LongestAllowed{testsupport::Sanitized ? 500 : 50};
#else
inline constexpr std::chrono::milliseconds LongestAllowed{500};
#endif

// Measures operations in processor time of this thread, so that other work on the machine does not count.
class Longest {
 public:
  template <class Operation>
  auto operator()(const Operation& operation) {
    const Stop stop{*this, now()};
    return operation();
  }

  std::chrono::nanoseconds time() const { return longest_; }

 private:
  static std::chrono::nanoseconds now() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  }

  struct Stop {
    Longest& owner;
    std::chrono::nanoseconds start;
    ~Stop() { owner.longest_ = std::max(owner.longest_, now() - start); }
  };

  std::chrono::nanoseconds longest_{};
};

}  // namespace service
