// Reports a growing count from time to time.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace wire {

// Decides when to report the growth of a total: the first growth at once, later growth as one sum after a minimum time.
class TotalNews {
 public:
  // apart: the minimum time between two reports.
  explicit TotalNews(std::chrono::nanoseconds apart) : apart_(apart) {}

  // Returns how much to report at now if the count is total; 0: report nothing.
  std::uint64_t take(std::uint64_t total, std::chrono::nanoseconds now) {
    return toldAt_ && now < *toldAt_ + apart_ ? 0 : takeAll(total, now);
  }

  // Like take, but without waiting: for the last report.
  std::uint64_t takeAll(std::uint64_t total, std::chrono::nanoseconds now) {
    const std::uint64_t news = total - told_;
    if (news == 0) return 0;
    told_ = total;
    toldAt_ = now;
    return news;
  }

  // Returns when to call take again; nullopt if everything was reported.
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
