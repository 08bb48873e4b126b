// Compares texts with patterns in which parts may be anything.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace testsupport {

// True if the whole text matches the pattern, in which every "{*}" stands for any text, also an empty one.
bool matchesText(std::string_view pattern, std::string_view text);

// True if the rows match the patterns, row by row. A pattern row "{**}" stands for any number of rows, also none. Empty
// rows at the end of either side are ignored.
bool matchesRows(std::span<const std::string> patterns, std::span<const std::string> rows);

}  // namespace testsupport
