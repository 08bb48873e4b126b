// The moment at which waiting ends.
#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace channel {

// The timeout for an answer of the service, for each endpoint that a new manager tries (opening JACK takes up to five
// seconds more), and for the destruction of a manager.
inline constexpr std::chrono::milliseconds AnswerTime{2000};

// The monotonic time, since an arbitrary start.
inline std::chrono::nanoseconds clockNow() { return std::chrono::steady_clock::now().time_since_epoch(); }

class Deadline {
 public:
  explicit Deadline(std::chrono::milliseconds fromNow) : end_(std::chrono::steady_clock::now() + fromNow) {}

  // The deadline at this time of the monotonic clock.
  static Deadline at(std::chrono::nanoseconds time) {
    return Deadline(
        std::chrono::steady_clock::time_point(std::chrono::duration_cast<std::chrono::steady_clock::duration>(time)));
  }

  // On the monotonic clock, see clockNow.
  std::chrono::nanoseconds time() const { return end_.time_since_epoch(); }

  bool passed() const { return std::chrono::steady_clock::now() >= end_; }

  // The time left, rounded up; 0 if the deadline has passed.
  std::chrono::milliseconds left() const {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
    return std::clamp(rest, std::chrono::milliseconds(0), std::chrono::milliseconds(std::numeric_limits<int>::max()));
  }

 private:
  explicit Deadline(std::chrono::steady_clock::time_point end) : end_(end) {}

  std::chrono::steady_clock::time_point end_;
};

}  // namespace channel
