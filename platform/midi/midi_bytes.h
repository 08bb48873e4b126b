// What the first byte of a MIDI message says about the rest.
#pragma once

#include <cstddef>
#include <cstdint>

namespace midi {

inline constexpr std::uint8_t SystemExclusive = 0xF0;
inline constexpr std::uint8_t EndOfExclusive = 0xF7;
inline constexpr std::uint8_t TimingClock = 0xF8;

constexpr bool isStatusByte(std::uint8_t byte) { return byte >= 0x80; }

constexpr bool isChannelStatus(std::uint8_t byte) { return byte >= 0x80 && byte < SystemExclusive; }

// Returns the size in bytes of the message that begins with this status byte, including it; 0 for a data byte, for
// system exclusive (which has no fixed size) and for undefined status bytes.
constexpr std::size_t messageSize(std::uint8_t status) {
  switch (status & 0xF0U) {
    case 0x80:
    case 0x90:
    case 0xA0:
    case 0xB0:
    case 0xE0:
      return 3;
    case 0xC0:
    case 0xD0:
      return 2;
    case 0xF0:
      break;
    default:
      return 0;
  }
  switch (status) {
    case 0xF2:
      return 3;
    case 0xF1:
    case 0xF3:
      return 2;
    case 0xF6:
    case TimingClock:
    case 0xFA:
    case 0xFB:
    case 0xFC:
    case 0xFE:
    case 0xFF:
      return 1;
    default:
      return 0;
  }
}

}  // namespace midi
