// Losses of unknown size, told seldom.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "platform/wire/total_news.h"

namespace client {

// A system that is late loses something unknown time after time, and each line goes across what the user reads. So a
// line comes at once, and then every ten seconds at most, with the sum. One thread at a time.
class UncountedLosses {
 public:
  // tell: takes how many times something was lost, 1 at least. It must outlive this, and not throw.
  explicit UncountedLosses(std::function<void(std::uint64_t times)> tell) : tell_(std::move(tell)) {}
  UncountedLosses(const UncountedLosses&) = delete;
  UncountedLosses& operator=(const UncountedLosses&) = delete;

  // Tells what is left.
  ~UncountedLosses() { say(news_.takeAll(times_, {})); }

  void add() { ++times_; }

  // Tells what is due at now.
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

}  // namespace client
