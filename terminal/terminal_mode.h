// The mode of the terminal on standard input, descriptor 0.
#pragma once

namespace flowscope {

enum class TerminalMode { Saved, Raw };

// All of these may be called from any thread. They wait for each other, for as long as a change of settings takes.
// While the process is in the background of its terminal (see inBackgroundOf) none of them changes a setting, and none
// stops the process.

// Raw: keys arrive one by one, without echo; the interrupt and stop keys keep their signals, a carriage return still
// arrives as a line feed, and output is processed as before. The settings found the first time are saved, once for
// the life of the process; raw mode is always made of these, whatever another program has left behind. Saved: puts the
// saved settings back; where none were saved, nothing changes.
//
// Answers whether the settings were applied: false when standard input is no terminal, and in the background. Raw asked
// for in the background is set, and the settings are saved, by the first of the calls below that finds the process in
// the foreground.
bool setTerminalMode(TerminalMode mode);

// Puts the saved settings back, if any were saved, for the time in which the process is stopped, or for good when it
// is about to die. Until reclaimTerminal was called as often, nothing makes the terminal raw. For signal handlers:
// async-signal-safe, keeps errno.
void lendTerminal() noexcept;

// Ends a lendTerminal: raw again, if raw is what was asked for last, nobody else lends, and the process is not in the
// background. Answers whether raw was set. For signal handlers, like lendTerminal.
bool reclaimTerminal() noexcept;

// The same without a lendTerminal before: somebody else may have changed the settings while the process was stopped.
// Nothing happens while the terminal is lent.
bool renewRawMode() noexcept;

// The same where raw was asked for and this process could not set it yet: not every shell tells a program that it has
// come to the foreground. Costs next to nothing otherwise, and can be called again and again.
bool catchUpRawMode() noexcept;

// Gives the terminal its saved settings for as long as the object lives, for a command that uses the terminal itself;
// afterwards it is raw again, if it was raw before, as soon as the process is not in the background.
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
