// A log that takes a bounded number of lines.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/device/port.h"
#include "platform/host/log.h"

namespace host {

// Passes lines on: 100 a second on average, and up to 300 in a burst. Leaves out the others, and says how many in one
// line when a second is over. So clients that come and go by the thousand fill no disk, and hide little.
class LogLimit {
 public:
  static constexpr device::Time LineTime = std::chrono::milliseconds(10);
  static constexpr device::Time BurstTime = std::chrono::seconds(3);
  static constexpr device::Time Interval = std::chrono::seconds(1);

  // log may be empty.
  explicit LogLimit(Log log) : log_(std::move(log)) {}

  // A log whose lines come here, at the time when they come; empty if that of the constructor is. Valid as long as this
  // object.
  Log log(std::function<device::Time()> clock);

  void write(std::string_view line, device::Time now);

  // Says how many lines were left out, if that is due. Returns when it is due next; nullopt: nothing was left out.
  std::optional<device::Time> advance(device::Time now);

  // The log ends: says it at once.
  void finish();

 private:
  Log log_;
  device::Time paidUntil_{};  // the lines so far take the time up to here
  std::uint64_t leftOut_ = 0;
  device::Time leftOutFrom_{};  // the first of them
};

}  // namespace host
