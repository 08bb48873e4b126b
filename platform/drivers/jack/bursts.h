// One line in the log for many things of one kind.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/drivers/port.h"

namespace service::jack {

enum class Burst : std::uint8_t {
  NoSuchChannel,  // messages not sent: the group id is no channel of real MIDI
  NotOneMessage,  // messages not sent: the bytes are not one complete message
  TooMuch,        // messages not sent: more waits than is kept
  SinkGone,       // messages not sent: the port went before they could go out
  Skipped         // periods that JACK went on without us
};

// Counts, and says so when a burst has been counted for a second.
class Bursts {
 public:
  void add(Burst kind, std::uint64_t count, Time now);

  // The lines that are due.
  std::vector<std::string> take(Time now);

  // When the next line will be due; nothing when none is waiting.
  std::optional<Time> next() const;

 private:
  struct Counted {
    std::uint64_t count = 0;
    Time begun{0};
  };
  static constexpr std::size_t Kinds = 5;

  std::array<Counted, Kinds> bursts_{};  // by Burst
};

}  // namespace service::jack
