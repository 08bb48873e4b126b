// What the first byte of a MIDI message says about the rest.
#pragma once

#include <cstddef>
#include <cstdint>

namespace midi {

// Status bytes of channel messages, without the channel.
inline constexpr std::uint8_t NoteOff = 0x80;
inline constexpr std::uint8_t NoteOn = 0x90;
inline constexpr std::uint8_t NotePressure = 0xA0;
inline constexpr std::uint8_t ControlChange = 0xB0;
inline constexpr std::uint8_t ProgramChange = 0xC0;
inline constexpr std::uint8_t ChannelPressure = 0xD0;
inline constexpr std::uint8_t PitchBend = 0xE0;

// Status bytes of system messages.
inline constexpr std::uint8_t SystemExclusive = 0xF0;
inline constexpr std::uint8_t QuarterFrame = 0xF1;
inline constexpr std::uint8_t SongPosition = 0xF2;
inline constexpr std::uint8_t SongSelect = 0xF3;
inline constexpr std::uint8_t TuneRequest = 0xF6;
inline constexpr std::uint8_t EndOfExclusive = 0xF7;
inline constexpr std::uint8_t TimingClock = 0xF8;
inline constexpr std::uint8_t Start = 0xFA;
inline constexpr std::uint8_t Continue = 0xFB;
inline constexpr std::uint8_t Stop = 0xFC;
inline constexpr std::uint8_t ActiveSensing = 0xFE;
inline constexpr std::uint8_t SystemReset = 0xFF;

constexpr bool isStatusByte(std::uint8_t byte) { return byte >= 0x80; }

constexpr bool isChannelStatus(std::uint8_t byte) { return byte >= 0x80 && byte < SystemExclusive; }

// Returns the size in bytes of the message that begins with this status byte, including it; 0 for a data byte, for
// system exclusive (which has no fixed size) and for undefined status bytes.
constexpr std::size_t messageSize(std::uint8_t status) {
  switch (status & 0xF0U) {
    case NoteOff:
    case NoteOn:
    case NotePressure:
    case ControlChange:
    case PitchBend:
      return 3;
    case ProgramChange:
    case ChannelPressure:
      return 2;
    case 0xF0:
      break;
    default:
      return 0;
  }
  switch (status) {
    case SongPosition:
      return 3;
    case QuarterFrame:
    case SongSelect:
      return 2;
    case TuneRequest:
    case TimingClock:
    case Start:
    case Continue:
    case Stop:
    case ActiveSensing:
    case SystemReset:
      return 1;
    default:
      return 0;
  }
}

}  // namespace midi
