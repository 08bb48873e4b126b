// Losses of unknown size, reported at intervals.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "platform/wire/total_news.h"

namespace channel {

// A system that is late loses an unknown number of messages time after time, and each line disturbs what the user
// reads. So the first loss is reported at once, later ones as a sum at most every ten seconds. Not thread-safe.
class UncountedLosses {
 public:
  // tell: gets how many times something was lost, at least 1. It must outlive this object and must not throw.
  explicit UncountedLosses(std::function<void(std::uint64_t times)> tell) : tell_(std::move(tell)) {}
  UncountedLosses(const UncountedLosses&) = delete;
  UncountedLosses& operator=(const UncountedLosses&) = delete;

  // Reports what is left.
  ~UncountedLosses() { say(news_.takeAll(times_, {})); }

  void add() { ++times_; }

  // Reports what is due at this time.
  void advance(std::chrono::nanoseconds now) {
    if (times_ > 0) say(news_.take(times_, now));
  }

 private:
  void say(std::uint64_t times) const {
    if (times > 0) tell_(times);
  }

  std::function<void(std::uint64_t times)> tell_;
  std::uint64_t times_ = 0;
  wire::TotalNews news_{std::chrono::seconds(10)};
};

}  // namespace channel
