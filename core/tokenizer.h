// Cuts text into commands and words. A blank is the character " " and nothing else.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/arguments.h"

namespace flowscope {

// Returns the words of one command. A word that begins with a double quote extends to the next one, blanks included,
// and loses both quotes; a double quote without a partner is an ordinary character.
ArgumentWords splitWords(std::string_view command);

// Returns every piece between ";", with blanks and empty pieces: one more than there are ";".
std::vector<std::string> splitAtSemicolons(std::string_view text);

// Returns the pieces of a whole line, each without its leading blanks; no piece for blanks alone behind the last ";". A
// line of blanks has no pieces.
std::vector<std::string> splitLine(std::string_view line);

// Returns a script line without its leading blanks, and without the opening quote if it then begins with one. A line
// that begins with two quotes becomes empty: only the first two characters are searched for the closing quote.
std::string_view stripScriptQuote(std::string_view line);

// Return the text without its leading, or trailing, blanks.
std::string_view withoutLeadingBlanks(std::string_view text);
std::string_view withoutTrailingBlanks(std::string_view text);

}  // namespace flowscope
