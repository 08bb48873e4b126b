// Escape sequences that move the cursor and erase text.
#pragma once

#include <string>
#include <string_view>

namespace flowscope {

// Erases from the cursor to the end of the screen line; the cursor stays.
inline constexpr std::string_view EraseToLineEnd = "\x1b[0K";

// Erases the whole screen line; the cursor stays.
inline constexpr std::string_view EraseLine = "\x1b[2K";

// Moves the cursor to a column of its line. Columns count from 1; terminals take 0 for 1.
inline std::string toColumn(int column) { return "\x1b[" + std::to_string(column) + "G"; }

}  // namespace flowscope
