// Comparing with texts in which some parts may be anything.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace testsupport {

// True when the whole text has the form of the pattern, in which every "{*}" stands for any text, also none.
bool matchesText(std::string_view pattern, std::string_view text);

// True when the rows have the form of the patterns, row by row. A pattern row "{**}" stands for any number of rows,
// also none. Empty rows at the end of either side do not count.
bool matchesRows(std::span<const std::string> patterns, std::span<const std::string> rows);

}  // namespace testsupport
