// A count that grows, told now and then.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace wire {

// Says when the growth of a total is to be told: the first at once, then what has come since, as one sum, when so much
// time has passed.
class TotalNews {
 public:
  // apart: between two times of telling, at least.
  explicit TotalNews(std::chrono::nanoseconds apart) : apart_(apart) {}

  // How much is to be told at now, when there are total in all; 0 for nothing.
  std::uint64_t take(std::uint64_t total, std::chrono::nanoseconds now) {
    return toldAt_ && now < *toldAt_ + apart_ ? 0 : takeAll(total, now);
  }

  // The same, but without waiting: it is the last time.
  std::uint64_t takeAll(std::uint64_t total, std::chrono::nanoseconds now) {
    const std::uint64_t news = total - told_;
    if (news == 0) return 0;
    told_ = total;
    toldAt_ = now;
    return news;
  }

  // When to ask again; nothing when all has been told.
  std::optional<std::chrono::nanoseconds> next(std::uint64_t total) const {
    if (total == told_) return std::nullopt;
    return toldAt_ ? *toldAt_ + apart_ : std::chrono::nanoseconds(0);
  }

 private:
  std::chrono::nanoseconds apart_;
  std::uint64_t told_ = 0;
  std::optional<std::chrono::nanoseconds> toldAt_;
};

}  // namespace wire
