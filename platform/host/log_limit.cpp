#include "platform/host/log_limit.h"

#include <algorithm>
#include <string>

namespace host {

Log LogLimit::log(std::function<device::Time()> clock) {
  if (!log_) return {};
  return [this, clock = std::move(clock)](std::string_view line) { write(line, clock()); };
}

void LogLimit::write(std::string_view line, device::Time now) {
  if (!log_) return;
  advance(now);
  const device::Time paid = std::max(paidUntil_, now) + LineTime;
  if (paid - now > BurstTime) {
    if (leftOut_++ == 0) leftOutFrom_ = now;
    return;
  }
  paidUntil_ = paid;
  log_(line);
}

std::optional<device::Time> LogLimit::advance(device::Time now) {
  if (leftOut_ > 0 && now >= leftOutFrom_ + Interval) finish();
  return leftOut_ == 0 ? std::nullopt : std::optional(leftOutFrom_ + Interval);
}

void LogLimit::finish() {
  const std::uint64_t count = std::exchange(leftOut_, 0);
  if (count == 0) return;
  log_(std::to_string(count) + (count == 1 ? " line" : " lines") + " left out: too many in a second");
}

}  // namespace host
