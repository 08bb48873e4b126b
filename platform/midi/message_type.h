// What kinds of messages a port carries, in the words that a user selects them with.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace midi {

enum class MessageType : std::uint8_t {
  Note,
  Pressure,  // of a note or of a channel
  Controller,
  Program,
  Bend,
  Exclusive,
  TimeCode,  // a quarter frame; a full frame is system exclusive
  Position,
  Song,
  Tune,
  Clock,
  Transport,  // start, continue, stop
  Sense,
  Reset,
  Other  // bytes that are no MIDI message
};

// The word for each type, in the order of the types.
inline constexpr std::array<std::string_view, 15> MessageTypeWords{"note",  "pressure",  "cc",       "pc",    "bend",
                                                                   "sysex", "mtc",       "position", "song",  "tune",
                                                                   "clock", "transport", "sense",    "reset", "other"};

constexpr std::string_view wordOf(MessageType type) { return MessageTypeWords.at(static_cast<std::size_t>(type)); }

// Messages of these types concern one channel.
constexpr bool hasChannel(MessageType type) { return type <= MessageType::Bend; }

// The type of a message as a port carries it: the group id stands for the channel, so a status byte with a channel is
// no message. Neither are several messages, data bytes outside system exclusive, a part of a message, or nothing.
// System exclusive need not be complete: large ones may come in pieces.
MessageType typeOf(std::span<const std::uint8_t> message);

}  // namespace midi
