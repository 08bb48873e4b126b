// Where this process stands among those that share a terminal.
#pragma once

namespace flowscope {

// Whether other processes have the terminal: it controls this session, and another process group is its foreground.
// False for a terminal that does not control the session, where there is no foreground, and for what is no terminal.
// Async-signal-safe; may change errno.
bool inBackgroundOf(int terminal) noexcept;

// Stops this process group (SIGTTIN), as the system does with one that reads from this terminal in its background.
// Returns when the process goes on, and at once when it cannot be stopped: where the signal is ignored or blocked,
// where no shell is left that could continue the group, and where the process has come to the foreground meanwhile. One
// thread at a time.
void stopForInput(int terminal) noexcept;

}  // namespace flowscope
