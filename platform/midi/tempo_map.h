// From the ticks of a score to nanoseconds.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/device/port.h"

namespace midi {

// What a tick is: units * scale / division nanoseconds, where units is the tempo (microseconds per quarter note) that
// stands at the tick, or 1 where ticks are all of one length.
struct TimeBase {
  std::uint64_t scale = 1000;
  std::uint64_t division = 480;  // not 0
  bool followsTempo = true;

  static TimeBase perQuarter(std::uint16_t ticks) { return {1000, ticks, true}; }

  // framesPerSecond 29 means 30 frames in 1.001 seconds.
  static TimeBase perFrame(std::uint8_t framesPerSecond, std::uint8_t ticks);
};

// From this tick on a quarter note lasts so many microseconds (below 2^24).
struct TempoChange {
  std::uint32_t tick = 0;
  std::uint32_t microseconds = 0;
  friend bool operator==(const TempoChange&, const TempoChange&) = default;
};

// The tempo of a score. Exact: each time is computed from its start and rounded once.
class TempoMap {
 public:
  // changes: in any order; of several at one tick the last one given counts. Before the first one, 120 quarter notes
  // per minute. Without tempo (see TimeBase) they are ignored.
  TempoMap(TimeBase base, std::vector<TempoChange> changes);

  // When the tick is, from the start; nothing when that is more than a year. tick: below 2^31.
  std::optional<device::Time> at(std::uint32_t tick) const;

 private:
  // A stretch of constant tempo: units passed up to its first tick, and units per tick.
  struct Stretch {
    std::uint32_t tick;
    std::uint64_t unitsBefore;
    std::uint64_t unitsPerTick;
  };

  TimeBase base_;
  std::vector<Stretch> stretches_;
};

}  // namespace midi
