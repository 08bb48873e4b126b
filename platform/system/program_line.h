// Lines for the user of the program.
#pragma once

#include <string>
#include <string_view>

namespace sys {

// The name by which this program was started, without its folder: printable, never empty. Thread-safe.
const std::string& programName();

// Returns text with "NAME: " before it.
std::string programLine(std::string_view text);

// Writes programLine(line) and a line end to standard error. Thread-safe; lines of several threads do not mix. line:
// printable, without a line end.
void sayLine(std::string_view line);

}  // namespace sys
