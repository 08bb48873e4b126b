// Option letters of the commands.
#pragma once

#include <cstdint>
#include <string_view>

namespace flowscope {

// A set of option letters, one bit each.
using Options = std::uint32_t;

inline constexpr Options OptionR = 0x1;
inline constexpr Options OptionM = 0x2;
inline constexpr Options OptionL = 0x4;
inline constexpr Options OptionC = 0x8;
inline constexpr Options NoOptions = 0;
inline constexpr Options AllOptions = OptionR | OptionM | OptionL | OptionC;

// The bit of a letter, 0 for a letter that is none of "r", "m", "l" and "c".
Options optionBit(char letter);

// True for an argument word that carries option letters: one whose first character is "-".
bool isOptionWord(std::string_view word);

// The bits of all letters of an option word; unknown letters set none.
Options optionsOf(std::string_view optionWord);

}  // namespace flowscope
