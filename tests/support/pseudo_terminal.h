// Runs a program on a real pseudo terminal and acts as its user.
#pragma once

#include <termios.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/child.h"
#include "tests/support/deadline.h"
#include "tests/support/unique_fd.h"

namespace testsupport {

struct WindowSize {
  unsigned short rows = 24;
  unsigned short columns = 80;
  friend bool operator==(const WindowSize&, const WindowSize&) = default;
};

// Not thread-safe.
class PseudoTerminal {
 public:
  // Where the program's standard input comes from. Its outputs go to the terminal in both cases.
  enum class Input { Terminal, Pipe };

  // Starts the program as the leader of a session whose controlling terminal this is. Throws std::system_error if the
  // terminal cannot be made or the program cannot be started.
  PseudoTerminal(const Command& command, WindowSize size, Input input = Input::Terminal);

  // Writes bytes as the keyboard does (or into the pipe), and reads what the program writes meanwhile. Returns false if
  // the deadline passes first or the input is closed.
  bool type(std::string_view bytes, const Deadline& deadline);

  // Closes a piped input. Does nothing if the input is the terminal.
  void closeInput() { pipe_.reset(); }

  // Hangs up: the program gets SIGHUP, and can neither read nor write from then on.
  void hangUp() { master_.reset(); }

  pid_t id() const { return child_->id(); }
  void resize(WindowSize size);
  void signal(int number) { child_->signal(number); }

  // Everything that the program has written and this object has read, from the start or since takeOutput.
  const std::string& output() const { return output_; }

  // Returns what output() holds, which is empty from then on.
  std::string takeOutput() { return std::exchange(output_, {}); }

  // Waits for more output and appends it to output(). Returns false if there was none before the deadline, or if the
  // program has ended and all its output has been read.
  bool read(const Deadline& deadline);

  // True if the program has ended and all its output has been read.
  bool ended() const { return ended_; }

  // Reads until the program has ended. Returns nullopt if the deadline passes first.
  std::optional<ExitStatus> waitForExit(const Deadline& deadline);

  // The terminal's settings now, and before the program was started.
  termios settings() const;
  const termios& settingsAtStart() const { return settingsAtStart_; }

 private:
  bool readReady();

  UniqueFd master_;
  UniqueFd slave_;  // kept open so that the settings can be read after the program has ended
  UniqueFd pipe_;
  termios settingsAtStart_{};
  std::string output_;
  bool ended_ = false;
  bool pipedInput_;
  std::optional<Child> child_;
};

// True if both settings have the same flags and control characters.
bool sameSettings(const termios& left, const termios& right);

}  // namespace testsupport
