// Who made the device that a system exclusive message is for.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace midi {

// A maker's id as the MIDI Association assigns it: one byte from 0x01 to 0x7D, or three, of which the first is 0.
struct MakerId {
  std::uint8_t first = 0;
  std::uint8_t second = 0;  // 0 unless first is 0
  std::uint8_t third = 0;
  friend auto operator<=>(const MakerId&, const MakerId&) = default;  // NOLINT(modernize-use-nullptr)

  std::size_t size() const { return first == 0 ? 3 : 1; }
};

// Reads the id at the front of bytes. Returns nullopt if it is cut off or is no data bytes.
std::optional<MakerId> readMakerId(std::span<const std::uint8_t> bytes);

// The name of a maker; empty if it is not in the table.
std::string_view nameOf(MakerId maker);

// The name, or "maker 0x5D", "maker 0x00 0x21 0x7F" for one without a name here.
std::string makerText(MakerId maker);

}  // namespace midi
