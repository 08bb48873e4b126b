// Cuts text into commands and words. A blank is the character " " and nothing else.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/arguments.h"

namespace flowscope {

// The words of one command. A word that begins with a double quote runs to the next one, blanks included, and is
// taken without the quotes; a double quote without a partner is an ordinary character.
ArgumentWords splitWords(std::string_view command);

// Every piece between ";", blanks kept, empty pieces kept: one more than there are ";".
std::vector<std::string> splitAtSemicolons(std::string_view text);

// The pieces of a whole line: each without its leading blanks, nothing for what holds only blanks behind the last
// ";". A line of blanks has no pieces.
std::vector<std::string> splitLine(std::string_view line);

// A script line without its leading blanks, and without the opening quote if it then begins with one. A line that
// begins with two quotes becomes empty: only the first two characters are searched for the closing quote.
std::string_view stripScriptQuote(std::string_view line);

// The text without its leading, or trailing, blanks.
std::string_view withoutLeadingBlanks(std::string_view text);
std::string_view withoutTrailingBlanks(std::string_view text);

}  // namespace flowscope
