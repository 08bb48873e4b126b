#include "platform/midi/message_type.h"

#include <algorithm>

#include "platform/midi/midi_bytes.h"

namespace midi {
namespace {

MessageType typeOfStatus(std::uint8_t status) {
  switch (status) {
    case NoteOff:
    case NoteOn:
      return MessageType::Note;
    case NotePressure:
    case ChannelPressure:
      return MessageType::Pressure;
    case ControlChange:
      return MessageType::Controller;
    case ProgramChange:
      return MessageType::Program;
    case PitchBend:
      return MessageType::Bend;
    case QuarterFrame:
      return MessageType::TimeCode;
    case SongPosition:
      return MessageType::Position;
    case SongSelect:
      return MessageType::Song;
    case TuneRequest:
      return MessageType::Tune;
    case TimingClock:
      return MessageType::Clock;
    case Start:
    case Continue:
    case Stop:
      return MessageType::Transport;
    case ActiveSensing:
      return MessageType::Sense;
    case SystemReset:
      return MessageType::Reset;
    default:
      return MessageType::Other;
  }
}

}  // namespace

MessageType typeOf(std::span<const std::uint8_t> message) {
  if (message.empty()) return MessageType::Other;
  const std::uint8_t status = message.front();
  if (status == SystemExclusive || status == EndOfExclusive) return MessageType::Exclusive;
  if (message.size() != messageSize(status)) return MessageType::Other;
  if (std::ranges::any_of(message.subspan(1), isStatusByte)) return MessageType::Other;
  return typeOfStatus(status);
}

}  // namespace midi
