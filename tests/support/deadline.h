// The moment at which a test gives up waiting.
#pragma once

#include <algorithm>
#include <chrono>

namespace testsupport {

class Deadline {
 public:
  explicit Deadline(std::chrono::milliseconds fromNow) : end_(std::chrono::steady_clock::now() + fromNow) {}

  bool passed() const { return std::chrono::steady_clock::now() >= end_; }

  // The time left as a timeout for poll(); 0 if the deadline has passed.
  int pollTimeout() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, MaxTimeout));
  }

  // The earlier of this deadline and the time after fromNow.
  Deadline atMost(std::chrono::milliseconds fromNow) const {
    Deadline nearer(fromNow);
    nearer.end_ = std::min(nearer.end_, end_);
    return nearer;
  }

 private:
  static constexpr std::chrono::milliseconds::rep MaxTimeout = 3'600'000;

  std::chrono::steady_clock::time_point end_;
};

}  // namespace testsupport
