// The same message, time and again.
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
  std::uint64_t count = 1;          // times in all
  std::optional<double> perSecond;  // above 0; none: all are due at the start
};

// A player of a repetition: the first message is due at the start, each other at its own multiple of the period from
// there, so there is no drift. No message is ever left out; after a long pause it goes on where it was.
std::unique_ptr<midi::Player> makeRepeatingPlayer(Repetition repetition);

}  // namespace streamctl
