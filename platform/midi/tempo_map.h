// Converts ticks of a score to nanoseconds.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/device/port.h"

namespace midi {

// The length of a tick: units * scale / division nanoseconds. units is the tempo at the tick (microseconds per quarter
// note), or 1 if all ticks have the same length.
struct TimeBase {
  std::uint64_t scale = 1000;
  std::uint64_t division = 480;  // not 0
  bool followsTempo = true;

  static TimeBase perQuarter(std::uint16_t ticks) { return {1000, ticks, true}; }

  // framesPerSecond 29 means 30 frames in 1.001 seconds.
  static TimeBase perFrame(std::uint8_t framesPerSecond, std::uint8_t ticks);
};

// From this tick on, a quarter note lasts this many microseconds (below 2^24).
struct TempoChange {
  std::uint32_t tick = 0;
  std::uint32_t microseconds = 0;
  friend bool operator==(const TempoChange&, const TempoChange&) = default;
};

// The tempo of a score. Exact: each time is computed from the start and rounded once.
class TempoMap {
 public:
  // changes: in any order; of several at one tick, the last one given counts. Before the first one, the tempo is 120
  // quarter notes per minute. If ticks do not follow the tempo (see TimeBase), changes are ignored.
  TempoMap(TimeBase base, std::vector<TempoChange> changes);

  // Returns the time of the tick from the start; nullopt if that is more than a year. tick: below 2^31.
  std::optional<device::Time> at(std::uint32_t tick) const;

 private:
  // A stretch of constant tempo: its first tick, the units before it, and units per tick.
  struct Stretch {
    std::uint32_t tick;
    std::uint64_t unitsBefore;
    std::uint64_t unitsPerTick;
  };

  TimeBase base_;
  std::vector<Stretch> stretches_;
};

}  // namespace midi
