// What a source port plays by itself, and when.
//
// Players read no clock: the time is given, and must not go back. A player is silent until it is started. When it is
// asked so late that more than MaxLateness has gone by since a message was due (the machine was suspended, say), it
// does not catch up in a burst but goes on from the present.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/device/port.h"
#include "platform/midi/score.h"

namespace midi {

class Player {
 public:
  static constexpr device::Time MaxLateness = std::chrono::seconds(1);

  virtual ~Player() = default;

  // Time 0 of what is played is now. Once started, a player is not started again.
  virtual void start(device::Time now) = 0;

  // When the next message is due; nothing when none will come (any more). Not after the now of the last call of next
  // when a message is due at once.
  virtual std::optional<device::Time> due() const = 0;

  // The next message, when it is due at now. Its bytes live as long as the player.
  virtual std::optional<device::Message> next(device::Time now) = 0;
};

struct ScorePlayback {
  Score score;
  bool loop = true;  // begin again when the score is over, endlessly; a pass lasts MinPass at least
  double speed = 1;  // times as fast, MinSpeed to MaxSpeed; 0: without pauses
};

struct ClockPlayback {
  double beatsPerMinute = 120;  // MinTempo to MaxTempo; 24 clock messages a beat
};

inline constexpr double MinSpeed = 0.01;
inline constexpr double MaxSpeed = 1000;
inline constexpr double MinTempo = 0.01;
inline constexpr double MaxTempo = 60'000;

// Shortest pass of a score in a loop: one that lasts no time would never let anything else happen. Scores without
// pauses are not held to it, as they come in the pieces that the caller wants.
inline constexpr device::Time MinPass = std::chrono::milliseconds(1);

// A player of a score. No message is ever left out: after a long pause it goes on where it was.
std::unique_ptr<Player> makePlayer(ScorePlayback playback);

// A player of clock messages (0xF8, group 0), the first at its start. Each is due at its own multiple of the period
// from the start, so there is no drift; after a long pause those that were missed are left out.
std::unique_ptr<Player> makePlayer(ClockPlayback playback);

}  // namespace midi
