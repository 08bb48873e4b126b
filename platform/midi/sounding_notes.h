// Tracks which notes sound.
#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <vector>

#include "platform/device/port.h"
#include "platform/midi/score.h"

namespace midi {

// Follows the messages that pass a port, with the group id in place of the channel. A note sounds from its note-on to
// the next note-off, however often it was struck; a note-on with velocity 0 is a note-off. A pedal that holds notes
// (controllers 64 and 66) is down if its value is 64 or more.
class SoundingNotes {
 public:
  // Records a complete message. Messages other than notes and these pedals change nothing.
  void passed(const device::Message& message);

  // Returns what ends everything that sounds: a note-off for each note, then a release for each pedal that is down;
  // each by group, then by number. Nothing sounds afterwards. Times are zero.
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
