// Where this process stands among those that share a terminal.
#pragma once

namespace flowscope {

// Whether other processes have the terminal: it controls this session, and another process group is its foreground.
// False for a terminal that does not control the session, where there is no foreground, and for what is no terminal.
// Async-signal-safe; may change errno.
bool inBackgroundOf(int terminal) noexcept;

}  // namespace flowscope
