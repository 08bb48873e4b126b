// A stream for a descriptor that may be non-blocking.
#pragma once

#include <cstdio>

namespace flowscope {

// Returns a stdio stream that writes to the descriptor, buffered like standard output: by lines on a terminal,
// otherwise by blocks. If a non-blocking descriptor has no room, the writing thread blocks until it has, and nothing is
// lost. The descriptor keeps its flags, because other processes may share them, and stays open when the stream is
// closed. Throws std::system_error if there is no memory.
std::FILE* openWaitingStream(int descriptor);

}  // namespace flowscope
