// Formatting into a buffer of known size, where a text that does not fit ends the process.
#pragma once

#include <span>

namespace flowscope {

// Formats one number into buffer, terminator included. When the text does not fit, the C library reports
// "*** buffer overflow detected ***: terminated" on standard error and ends the process with SIGABRT. So it does in
// every build, not only in those whose formatting calls are fortified.
void formatChecked(std::span<char> buffer, const char* format, unsigned value);

}  // namespace flowscope
