// Lines for the user on standard error.
#pragma once

#include <string_view>

namespace flowscope {

// Writes "flowscope: ", the text and a line end, after all that the streams of openWaitingStream hold. Waits for room,
// also where standard error does not block. Any thread; lines of several threads do not mix.
void sayError(std::string_view text);

}  // namespace flowscope
