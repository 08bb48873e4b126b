// Losses of unknown size, reported seldom.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "platform/wire/total_news.h"

namespace client {

// A system that is late loses messages again and again, and each line disturbs what the user reads. So the first loss
// is reported at once, and later ones as a sum every ten seconds at most. One thread at a time.
class UncountedLosses {
 public:
  // tell is called with the number of losses, at least 1. What it refers to must outlive this object; it must not
  // throw.
  explicit UncountedLosses(std::function<void(std::uint64_t times)> tell) : tell_(std::move(tell)) {}
  UncountedLosses(const UncountedLosses&) = delete;
  UncountedLosses& operator=(const UncountedLosses&) = delete;

  // Reports what has not been reported yet.
  ~UncountedLosses() { say(news_.takeAll(times_, {})); }

  void add() { ++times_; }

  // Reports what is due at now.
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
