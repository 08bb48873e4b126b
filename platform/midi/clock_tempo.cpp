#include "platform/midi/clock_tempo.h"

#include <algorithm>
#include <chrono>

namespace midi {

std::optional<double> ClockTempo::add(device::Time time) {
  // The difference of two times that are not negative always fits.
  if (time < device::Time::zero()) {
    clear();
    return std::nullopt;
  }
  if (last_ && (time < *last_ || time - *last_ >= Pause)) clear();
  if (!last_) {
    sharing_ = 1;
  } else if (time == *last_) {
    ++sharing_;
  } else {
    const device::Time interval = (time - *last_) / sharing_;
    const auto many = std::min<std::int64_t>(sharing_, Window);
    for (std::int64_t i = 0; i < many; ++i) addInterval(interval);
    sharing_ = 1;
  }
  last_ = time;
  if (count_ < Window) return std::nullopt;
  auto sorted = intervals_;
  std::ranges::sort(sorted);
  const std::chrono::duration<double> twice = sorted.at(Window / 2 - 1) + sorted.at(Window / 2);
  if (twice.count() <= 0) return std::nullopt;
  constexpr double ClocksPerQuarter = 24;
  constexpr double SecondsPerMinute = 60;
  return 2 * SecondsPerMinute / (ClocksPerQuarter * twice.count());
}

void ClockTempo::addInterval(device::Time interval) {
  intervals_.at(next_) = interval;
  next_ = (next_ + 1) % Window;
  count_ = std::min(count_ + 1, Window);
}

void ClockTempo::clear() {
  count_ = 0;
  next_ = 0;
  last_.reset();
}

}  // namespace midi
