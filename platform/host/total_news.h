// A count that grows, told now and then.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/drivers/port.h"

namespace host {

// Says when the growth of a total is to be told: the first at once, then what has come since, as one sum, when so much
// time has passed.
class TotalNews {
 public:
  // apart: between two times of telling, at least.
  explicit TotalNews(service::Time apart) : apart_(apart) {}

  // How much is to be told at now, when there are total in all; 0 for nothing.
  std::uint64_t take(std::uint64_t total, service::Time now) {
    return toldAt_ && now < *toldAt_ + apart_ ? 0 : takeAll(total, now);
  }

  // The same, but without waiting: it is the last time.
  std::uint64_t takeAll(std::uint64_t total, service::Time now) {
    const std::uint64_t news = total - told_;
    if (news == 0) return 0;
    told_ = total;
    toldAt_ = now;
    return news;
  }

  // When to ask again; nothing when all has been told.
  std::optional<service::Time> next(std::uint64_t total) const {
    if (total == told_) return std::nullopt;
    return toldAt_ ? *toldAt_ + apart_ : service::Time(0);
  }

 private:
  service::Time apart_;
  std::uint64_t told_ = 0;
  std::optional<service::Time> toldAt_;
};

}  // namespace host
