#include "traffic/message_kind.h"

#include <cstddef>

namespace flowscope {

namespace {

MessageKind ifLongEnough(std::span<const std::uint8_t> message, std::size_t needed, MessageKind kind) {
  return message.size() < needed ? MessageKind::ErrorData : kind;
}

}  // namespace

MessageKind kindOf(std::span<const std::uint8_t> message) {
  if (message.empty()) return MessageKind::ErrorData;
  switch (message[0]) {
    case 0x80:
      return ifLongEnough(message, 3, MessageKind::NoteOff);
    case 0x90:
      return ifLongEnough(message, 3, MessageKind::NoteOn);
    case 0xA0:
      return ifLongEnough(message, 3, MessageKind::PolyAfter);
    case 0xB0:
      return ifLongEnough(message, 3, MessageKind::ControlChange);
    case 0xC0:
      return ifLongEnough(message, 2, MessageKind::ProgramChange);
    case 0xD0:
      return ifLongEnough(message, 2, MessageKind::AfterTouch);
    case 0xE0:
      return ifLongEnough(message, 3, MessageKind::PitchBend);
    case 0xF0:
    case 0xF7:
      return MessageKind::SystemExclusive;
    case 0xF1:
    case 0xF2:
    case 0xF3:
    case 0xF6:
      return MessageKind::SystemCommon;
    case 0xF8:
    case 0xFA:
    case 0xFB:
    case 0xFC:
    case 0xFE:
      return MessageKind::RealTime;
    case 0xFF:
      return message.size() == 1 ? MessageKind::RealTime : MessageKind::Meta;
    default:
      return MessageKind::ErrorData;
  }
}

}  // namespace flowscope
