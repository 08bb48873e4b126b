// Formats into a buffer of known size; a text that does not fit ends the process.
#pragma once

#include <span>

namespace flowscope {

// Formats one number into buffer, terminator included. If the text does not fit, the C library reports "*** buffer
// overflow detected ***: terminated" on standard error and ends the process with SIGABRT. This holds in every build,
// not only in those with fortified formatting calls.
void formatChecked(std::span<char> buffer, const char* format, unsigned value);

}  // namespace flowscope
