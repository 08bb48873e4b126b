// A stream whose descriptor may refuse to wait.
#pragma once

#include <cstdio>

namespace flowscope {

// A stdio stream that writes to the descriptor, buffered as standard output would be: by lines on a terminal, else by
// blocks. Where the descriptor takes nothing at the moment although it does not block, the writing thread waits until
// it does, and nothing is lost. The descriptor keeps its flags, as other processes may share them, and stays open when
// the stream is closed. Throws std::system_error when there is no memory.
std::FILE* openWaitingStream(int descriptor);

}  // namespace flowscope
