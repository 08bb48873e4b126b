// The argument words of one command.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "terminal/result_code.h"
#include "topology/option_bits.h"

namespace flowscope {

// Argument words that a command has not taken yet, in order.
using ArgumentWords = std::deque<std::string>;

// Removes the option words from words and collects their letters in options. Returns ResultOptionError if more than
// maximum words remain or a letter outside allowed was given, otherwise ResultOk. Too few words are no error.
ResultCode checkArguments(ArgumentWords& words, Options& options, std::uint32_t maximum, Options allowed);

// Moves the next word into text. Returns false and leaves text unchanged if there is none.
bool nextArgument(ArgumentWords& words, std::string& text);

}  // namespace flowscope
