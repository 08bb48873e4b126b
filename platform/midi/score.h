// Music to be played: messages and when.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/device/port.h"

namespace midi {

// One message of a score, whole, without its channel: the group id takes the channel's place.
struct ScoreEvent {
  device::Time time{};  // since the start of the score
  std::uint16_t group = 0;
  std::vector<std::uint8_t> bytes;
  friend bool operator==(const ScoreEvent&, const ScoreEvent&) = default;
};

// Messages in the order of playing; times never go back. length: when the score is over, not before its last event.
struct Score {
  std::vector<ScoreEvent> events;
  device::Time length{};
};

}  // namespace midi
