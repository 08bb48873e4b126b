// Selects messages by type and channel.
#pragma once

#include <bitset>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/device/port.h"
#include "platform/midi/message_type.h"

namespace midi {

inline constexpr std::size_t MidiChannels = 16;

using TypeSet = std::bitset<MessageTypeWords.size()>;  // by MessageType
using ChannelSet = std::bitset<MidiChannels>;          // by group id: channel 1 is bit 0

// Parses types, separated by commas: "note,cc". Each word is one of MessageTypeWords. Returns one printable line that
// says what is wrong with the text otherwise.
std::variant<TypeSet, std::string> parseTypes(std::string_view text);

// Parses channels from 1 to 16 and ranges of them, separated by commas: "1-4,10". Returns one printable line that says
// what is wrong with the text otherwise.
std::variant<ChannelSet, std::string> parseChannels(std::string_view text);

// Passes every message unless told otherwise.
struct MessageFilter {
  TypeSet types = TypeSet().set();
  // Set: passes only channel messages of these channels. A group id above 15 is no channel.
  std::optional<ChannelSet> channels;

  bool passes(MessageType type, std::uint16_t group) const;
  bool passes(const device::Message& message) const { return passes(typeOf(message.bytes), message.group); }
};

}  // namespace midi
