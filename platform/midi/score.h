// Music to play: messages and their times.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/device/port.h"

namespace midi {

// One complete message of a score, without its channel: the group id replaces it.
struct ScoreEvent {
  device::Time time{};  // since the start of the score
  std::uint16_t group = 0;
  std::vector<std::uint8_t> bytes;
  friend bool operator==(const ScoreEvent&, const ScoreEvent&) = default;
};

// Messages in playing order; times never decrease. length: when the score ends, not before its last event.
struct Score {
  std::vector<ScoreEvent> events;
  device::Time length{};
};

}  // namespace midi
