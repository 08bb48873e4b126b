// Which notes sound.
#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <vector>

#include "platform/device/port.h"
#include "platform/midi/score.h"

namespace midi {

// Follows the messages that pass a port, in the form in which the group id takes the channel's place. A note sounds
// from its note-on to the next note-off, however often it was struck; a note-on of velocity 0 is a note-off. A pedal
// that holds notes (controllers 64 and 66) is down from a value of 64 on.
class SoundingNotes {
 public:
  // Takes a whole message into account; what is no note and no such pedal changes nothing.
  void passed(const device::Message& message);

  // What ends all that sounds: a note-off for each note, then, for each pedal that is down, its release; by group, then
  // by number. Nothing sounds afterwards. Times are zero.
  std::vector<ScoreEvent> takeEnds();

 private:
  static constexpr std::size_t Numbers = 128;
  struct Channel {
    std::bitset<Numbers> notes;
    std::bitset<Numbers> pedals;  // by controller
  };
  std::map<std::uint16_t, Channel> channels_;  // by group id
};

}  // namespace midi
