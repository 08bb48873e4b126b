// The tempo of a MIDI clock.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/device/port.h"

namespace midi {

// Measures a clock by the times of its messages, 24 a quarter note. The tempo is that of the median of the last 24
// intervals, so a few late messages do not change it. Several messages may share the time of the first of them; then
// they are taken to be evenly spaced until the next time.
class ClockTempo {
 public:
  // A clock message came. Returns quarter notes a minute; nullopt until there are 24 intervals. A pause of a second or
  // more, a time before the last one, or one below zero begins anew.
  std::optional<double> add(device::Time time);

 private:
  static constexpr std::size_t Window = 24;
  static constexpr device::Time Pause = std::chrono::seconds(1);

  void addInterval(device::Time interval);
  void clear();

  std::array<device::Time, Window> intervals_{};  // a ring
  std::size_t count_ = 0;
  std::size_t next_ = 0;
  std::optional<device::Time> last_;
  std::int64_t sharing_ = 0;  // messages at the last time
};

}  // namespace midi
