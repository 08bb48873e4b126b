#include "platform/midi/smf_track.h"

#include "platform/midi/midi_bytes.h"

namespace midi {
namespace {

std::string hex(std::uint8_t byte) {
  constexpr const char* Digits = "0123456789ABCDEF";
  return {'0', 'x', Digits[byte >> 4U], Digits[byte & 0xFU]};
}

}  // namespace

std::optional<SmfEvent> SmfTrack::next() {
  if (ended_ || in_.atEnd()) return std::nullopt;
  constexpr std::uint32_t MaxTick = 0x7FFFFFFF;
  const std::size_t start = in_.offset();
  const std::uint32_t delta = in_.variable();
  if (delta > MaxTick - tick_) throw SmfProblem(start, "the track is longer than 2^31 ticks");
  tick_ += delta;

  const bool running = !in_.atEnd() && !isStatusByte(in_.rest().front());
  const std::uint8_t status = running ? runningStatus_ : in_.byte();
  if (status == 0) throw SmfProblem(in_.offset(), "data byte without running status");
  if (status == MetaEvent) {
    const std::uint8_t type = in_.byte();
    ended_ = type == MetaEndOfTrack;
    return SmfEvent{tick_, status, type, in_.take(in_.variable(), "the event")};
  }
  if (status == SystemExclusive || status == EndOfExclusive) {
    return SmfEvent{tick_, status, 0, in_.take(in_.variable(), "the event")};
  }
  runningStatus_ = isChannelStatus(status) ? status : 0;
  return SmfEvent{tick_, status, 0, takeMessageData(status, in_)};
}

SmfReader takeMessageData(std::uint8_t status, SmfReader& in) {
  const std::size_t size = messageSize(status);
  // In a file, 0xFF begins a meta event, not a System Reset.
  if (size == 0 || status == MetaEvent) {
    throw SmfProblem(in.offset() - 1, "invalid status byte " + hex(status));
  }
  const SmfReader data = in.take(size - 1, "the message");
  requireDataBytes(data);
  return data;
}

void requireDataBytes(SmfReader bytes) {
  while (!bytes.atEnd()) {
    const std::size_t offset = bytes.offset();
    if (isStatusByte(bytes.byte())) throw SmfProblem(offset, "a status byte inside a message");
  }
}

}  // namespace midi
