// The mode of the terminal on standard input, descriptor 0.
#pragma once

namespace flowscope {

enum class TerminalMode { Saved, Raw };

// Everything here is thread-safe; a call may block while another changes the settings. While the process is in the
// background of its terminal (see inBackgroundOf), no call changes a setting, and no call stops the process.

// Raw: keys arrive one by one, without echo; the interrupt and stop keys still send their signals, a carriage return
// still arrives as a line feed, and output processing does not change. The first change to raw saves the settings, once
// for the life of the process; raw mode always derives from these, whatever another program has left behind. Saved:
// restores the saved settings; if none were saved, nothing changes.
//
// Returns whether the settings were applied: false if standard input is no terminal, and in the background. If raw is
// requested in the background, the first of the calls below that finds the process in the foreground saves the settings
// and sets raw.
bool setTerminalMode(TerminalMode mode);

// Restores the saved settings, if any, while the process is stopped, or for good before it dies. Nothing makes the
// terminal raw until reclaimTerminal was called as often as lendTerminal. For signal handlers: async-signal-safe, keeps
// errno.
void lendTerminal() noexcept;

// Ends a lendTerminal: makes the terminal raw again if raw was requested last, no other lendTerminal is open, and the
// process is not in the background. Returns whether raw was set. For signal handlers, like lendTerminal.
bool reclaimTerminal() noexcept;

// Like reclaimTerminal, but without a lendTerminal before: another program may have changed the settings while the
// process was stopped. Does nothing while the terminal is lent.
bool renewRawMode() noexcept;

// Like renewRawMode, but only if raw was requested and this process could not set it yet: not every shell tells a
// program that it has come to the foreground. Otherwise it costs almost nothing, so it can be called again and again.
bool catchUpRawMode() noexcept;

// Restores the saved settings while the object lives, for a command that uses the terminal itself. Afterwards the
// terminal is raw again if it was raw before, as soon as the process is not in the background.
class SavedModeScope {
 public:
  SavedModeScope();
  SavedModeScope(const SavedModeScope&) = delete;
  SavedModeScope& operator=(const SavedModeScope&) = delete;
  ~SavedModeScope();

 private:
  bool wasRaw_ = false;
};

}  // namespace flowscope
