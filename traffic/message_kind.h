// What kind of message a record holds.
#pragma once

#include <cstdint>
#include <span>

namespace flowscope {

enum class MessageKind {
  ErrorData,
  NoteOff,
  NoteOn,
  PolyAfter,
  ControlChange,
  ProgramChange,
  AfterTouch,
  PitchBend,
  SystemExclusive,
  SystemCommon,
  RealTime,
  Meta,
};

// The kind of a message, from its whole status byte: the stream carries no channel there, so a channel status with
// another low nibble than 0 is error data, as is a channel message that is shorter than its kind needs, and an
// empty one. 0xFF alone is a real-time message, with bytes behind it a meta event.
MessageKind kindOf(std::span<const std::uint8_t> message);

}  // namespace flowscope
