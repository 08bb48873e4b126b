// A text with its attributes and colour, and the sequences that switch them on and off.
#pragma once

#include <cstdint>
#include <string>

namespace flowscope {

// Bits of StyledText::attributes; other bits have no effect.
inline constexpr std::uint32_t AttrNone = 0x00;
inline constexpr std::uint32_t AttrUnderline = 0x02;
inline constexpr std::uint32_t AttrReverse = 0x04;
inline constexpr std::uint32_t AttrBold = 0x08;
inline constexpr std::uint32_t AttrBlink = 0x10;

// Values of StyledText::colour; other values print no sequence when switched on.
inline constexpr std::uint32_t ColourDefault = 0;
inline constexpr std::uint32_t ColourWhite = 1;
inline constexpr std::uint32_t ColourRed = 2;
inline constexpr std::uint32_t ColourGreen = 3;
inline constexpr std::uint32_t ColourBlue = 4;

// One text to write. The text is borrowed for the duration of the call that takes it, and may be null.
struct StyledText {
  std::uint32_t attributes = AttrNone;
  std::uint32_t colour = ColourDefault;
  const char* text = nullptr;
};

// Returns the sequences that switch the attributes on (reverse, bold, blink, underline, in this order), then the
// colour. The default colour has a sequence of its own.
std::string styleOn(std::uint32_t attributes, std::uint32_t colour);

// Returns the sequences that switch the attributes off, in the same order, then back to the default colour unless
// colour is the default one.
std::string styleOff(std::uint32_t attributes, std::uint32_t colour);

}  // namespace flowscope
