// Lines for the user of the program.
#pragma once

#include <string>
#include <string_view>

namespace sys {

// The name by which this program was started, without its folder: printable, never empty. Thread-safe.
const std::string& programName();

// Returns text with "NAME: " before it.
std::string programLine(std::string_view text);

// Writes programLine(line) and a line end to standard error. Any thread; lines of several threads do not mix.
// Waits for room, also where standard error does not block.
// line: printable, without a line end.
void sayLine(std::string_view line);

}  // namespace sys
