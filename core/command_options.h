// Option letters of the commands.
#pragma once

#include <string_view>

#include "topology/option_bits.h"

namespace flowscope {

// The bit of a letter, 0 for a letter that is none of "r", "m", "l" and "c".
Options optionBit(char letter);

// True for an argument word that carries option letters: one whose first character is "-".
bool isOptionWord(std::string_view word);

// The bits of all letters of an option word; unknown letters set none.
Options optionsOf(std::string_view optionWord);

}  // namespace flowscope
