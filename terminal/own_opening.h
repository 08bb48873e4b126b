// Opens what is behind a descriptor once more, because flags such as O_NONBLOCK are shared with other processes.
#pragma once

#include <cstdint>

namespace flowscope {

// What is behind a descriptor, by how its writes block.
enum class Behind : std::uint8_t { Pipe, Terminal, Socket, Other };

// For signal handlers, too. May change errno.
Behind whatIsBehind(int descriptor) noexcept;

// Opens a pipe or a terminal for writing that does not block. Returns the new descriptor, which the caller closes, or
// -1: another user's terminal cannot be opened again, nor a pipe without a reader. For signal handlers, too. May change
// errno.
int openAgain(int descriptor) noexcept;

}  // namespace flowscope
