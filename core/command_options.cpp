#include "core/command_options.h"

namespace flowscope {

Options optionBit(char letter) {
  switch (letter) {
    case 'r':
      return OptionR;
    case 'm':
      return OptionM;
    case 'l':
      return OptionL;
    case 'c':
      return OptionC;
    default:
      return NoOptions;
  }
}

bool isOptionWord(std::string_view word) { return word.starts_with('-'); }

Options optionsOf(std::string_view optionWord) {
  Options options = NoOptions;
  for (const char letter : optionWord.substr(1)) options |= optionBit(letter);
  return options;
}

}  // namespace flowscope
