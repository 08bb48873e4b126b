// A count that grows, reported from time to time.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace wire {

// Says when the growth of a total is to be reported: the first growth at once, later growth as one sum when enough time
// has passed since the last report.
class TotalNews {
 public:
  // apart: the shortest time between two reports.
  explicit TotalNews(std::chrono::nanoseconds apart) : apart_(apart) {}

  // Returns how much of the total is to be reported at now; 0 for nothing.
  std::uint64_t take(std::uint64_t total, std::chrono::nanoseconds now) {
    return toldAt_ && now < *toldAt_ + apart_ ? 0 : takeAll(total, now);
  }

  // The same without waiting, for the last report.
  std::uint64_t takeAll(std::uint64_t total, std::chrono::nanoseconds now) {
    const std::uint64_t news = total - told_;
    if (news == 0) return 0;
    told_ = total;
    toldAt_ = now;
    return news;
  }

  // When to ask again; nullopt when all has been reported.
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
