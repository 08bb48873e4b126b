// What universal system exclusive messages are for.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace midi {

// Where messages of all makers have the maker's id.
inline constexpr std::uint8_t NonRealTime = 0x7E;
inline constexpr std::uint8_t RealTime = 0x7F;

struct UniversalMessage {
  std::uint8_t kind = 0;  // NonRealTime or RealTime
  std::uint8_t subId1 = 0;
  std::optional<std::uint8_t> subId2;  // none: any, or the message has none
  std::string_view name;
};

// The message with these ids, else the one with any subId2; null if there is neither. subId2: none if the message ends
// before. Valid for ever.
const UniversalMessage* universalMessage(std::uint8_t kind, std::uint8_t subId1, std::optional<std::uint8_t> subId2);

// The whole table, ascending by kind, subId1 and subId2; "any" comes first.
std::span<const UniversalMessage> universalMessages();

}  // namespace midi
