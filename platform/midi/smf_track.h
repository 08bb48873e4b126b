// The events of a track of a Standard MIDI File, one by one, unchanged.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/midi/smf_bytes.h"

namespace midi {

inline constexpr std::uint8_t MetaEvent = 0xFF;
inline constexpr std::uint8_t MetaEndOfTrack = 0x2F;
inline constexpr std::uint8_t MetaTempo = 0x51;

struct SmfEvent {
  std::uint32_t tick;   // from the start of the track, below 2^31
  std::uint8_t status;  // also where the file leaves it out (running status)
  std::uint8_t type;    // of a meta event, else 0
  SmfReader data;       // what follows; for meta events, 0xF0 and 0xF7 behind the length
};

class SmfTrack {
 public:
  // in: the content of the track's chunk.
  explicit SmfTrack(SmfReader in) : in_(in) {}

  // The next event; nullopt at the end. The last one is the end of the track, if the track has one; what follows is
  // ignored. Running status holds across meta and system exclusive events: some files rely on it. Throws SmfProblem if
  // the next bytes are no event.
  std::optional<SmfEvent> next();

  std::uint32_t tick() const { return tick_; }         // of the last event
  std::size_t offset() const { return in_.offset(); }  // of the next byte

 private:
  SmfReader in_;
  std::uint32_t tick_ = 0;
  std::uint8_t runningStatus_ = 0;  // 0: none
  bool ended_ = false;
};

// Takes the data of a channel, system common or real-time message from in: the bytes after the status. Throws
// SmfProblem for any other status, and if data bytes are missing.
SmfReader takeMessageData(std::uint8_t status, SmfReader& in);

// Throws SmfProblem if one of the bytes is above 0x7F.
void requireDataBytes(SmfReader bytes);

}  // namespace midi
