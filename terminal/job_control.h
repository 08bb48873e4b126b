// Job control: whether this process is in the background of its terminal, and how it stops there.
#pragma once

namespace flowscope {

// Returns whether other processes have the terminal: it controls this session, and another process group is its
// foreground. False if the terminal does not control the session (then there is no foreground), and if the descriptor
// is no terminal. Async-signal-safe; may change errno.
bool inBackgroundOf(int terminal) noexcept;

// Stops this process group with SIGTTIN, as the system does when a process reads from this terminal in the background.
// Returns when the process continues. Returns at once if the process cannot be stopped: the signal is ignored or
// blocked, no shell is left that could continue the group, or the process came to the foreground meanwhile. One thread
// at a time.
void stopForInput(int terminal) noexcept;

}  // namespace flowscope
