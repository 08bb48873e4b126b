// The kind of message that a record holds.
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

// Returns the kind of a message by its whole status byte. The stream carries no channel there, so a channel status with
// a low nibble other than 0 is error data. So are a channel message that is too short for its kind and an empty
// message. 0xFF alone is a real-time message; with bytes behind it, it is a meta event.
MessageKind kindOf(std::span<const std::uint8_t> message);

}  // namespace flowscope
