// The options of the commands, as bits.
#pragma once

#include <cstdint>

namespace flowscope {

// A set of option letters, one bit each. What a letter means is the command's.
using Options = std::uint32_t;

inline constexpr Options NoOptions = 0;
inline constexpr Options OptionR = 0x1;
inline constexpr Options OptionM = 0x2;
inline constexpr Options OptionL = 0x4;
inline constexpr Options OptionC = 0x8;
inline constexpr Options AllOptions = OptionR | OptionM | OptionL | OptionC;

}  // namespace flowscope
