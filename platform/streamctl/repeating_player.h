// One message, repeated.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/midi/player.h"

namespace streamctl {

struct Repetition {
  std::uint16_t group = 0;
  std::vector<std::uint8_t> message;
  std::uint64_t count = 1;          // total number of messages
  std::optional<double> perSecond;  // above 0; none: all are due at the start
};

// A player of a repetition. The first message is due at the start, each later one at a multiple of the period after it,
// so there is no drift. No message is left out; after a long pause the player continues where it was.
std::unique_ptr<midi::Player> makeRepeatingPlayer(Repetition repetition);

}  // namespace streamctl
