// What a source port plays by itself, and when.
//
// Players read no clock: the caller passes the time, which must not go back. A player is silent until it is started. If
// next is called more than MaxLateness after a message was due (the machine was suspended, say), the player does not
// catch up in a burst but continues from the present.
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

  // Starts: now is time 0 of what is played. Does nothing if the player is already started.
  virtual void start(device::Time now) = 0;

  // Returns when the next message is due; nullopt if none will follow. If a message is due at once, the time is not
  // after the now of the last call of next.
  virtual std::optional<device::Time> due() const = 0;

  // Returns the next message if it is due at now, else nullopt. Its bytes live as long as the player.
  virtual std::optional<device::Message> next(device::Time now) = 0;
};

struct ScorePlayback {
  Score score;
  bool loop = true;  // repeat the score endlessly; a pass lasts at least MinPass
  double speed = 1;  // factor, MinSpeed to MaxSpeed; 0: without pauses
};

struct ClockPlayback {
  double beatsPerMinute = 120;  // MinTempo to MaxTempo; 24 clock messages a beat
};

inline constexpr double MinSpeed = 0.01;
inline constexpr double MaxSpeed = 1000;
inline constexpr double MinTempo = 0.01;
inline constexpr double MaxTempo = 60'000;

// Shortest pass of a score in a loop: a pass that takes no time would let nothing else happen. It does not apply to
// playback without pauses, where the caller limits how much it takes at once.
inline constexpr device::Time MinPass = std::chrono::milliseconds(1);

// Makes a player of a score. It skips no message: after a long pause it continues where it was.
std::unique_ptr<Player> makePlayer(ScorePlayback playback);

// Makes a player of clock messages (0xF8, group 0), the first at its start. Each is due at its own multiple of the
// period from the start, so there is no drift. After a long pause it skips those that were missed.
std::unique_ptr<Player> makePlayer(ClockPlayback playback);

}  // namespace midi
