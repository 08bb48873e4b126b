// Runs a program on a real pseudo terminal and plays the person in front of it.
#pragma once

#include <termios.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tests/support/child.h"
#include "tests/support/deadline.h"
#include "tests/support/unique_fd.h"

namespace testsupport {

struct WindowSize {
  unsigned short rows = 24;
  unsigned short columns = 80;
  friend bool operator==(const WindowSize&, const WindowSize&) = default;
};

// Not for use from several threads at once.
class PseudoTerminal {
 public:
  // Where the program's standard input comes from. Its outputs are the terminal in both cases.
  enum class Input { Terminal, Pipe };

  // Starts the program as the leader of a session whose controlling terminal this is. Throws std::system_error when
  // the terminal cannot be made or the program cannot be started.
  PseudoTerminal(const Command& command, WindowSize size, Input input = Input::Terminal);

  // Writes bytes as the keyboard (or into the pipe), reading what the program writes meanwhile. False when the
  // deadline came first or the input has been closed.
  bool type(std::string_view bytes, const Deadline& deadline);

  // The end of a piped input. Nothing happens to an input that is the terminal.
  void closeInput() { pipe_.reset(); }

  // The line goes dead: the program gets SIGHUP, and can neither read nor write from then on.
  void hangUp() { master_.reset(); }

  pid_t id() const { return child_->id(); }
  void resize(WindowSize size);
  void signal(int number) { child_->signal(number); }

  // All that the program has written and that has been read, from the start on.
  const std::string& output() const { return output_; }

  // Waits for more output and appends it to output(). False when there was none before the deadline, or when the
  // program has ended and everything it wrote has been read.
  bool read(const Deadline& deadline);

  // True when the program has ended and everything that it wrote has been read.
  bool ended() const { return ended_; }

  // Reads until the program has ended. Nothing when the deadline comes first.
  std::optional<ExitStatus> waitForExit(const Deadline& deadline);

  // The terminal's settings now, and before the program was started.
  termios settings() const;
  const termios& settingsAtStart() const { return settingsAtStart_; }

 private:
  bool readReady();

  UniqueFd master_;
  UniqueFd slave_;  // kept open, so that the settings can be read after the program's end
  UniqueFd pipe_;
  termios settingsAtStart_{};
  std::string output_;
  bool ended_ = false;
  bool pipedInput_;
  std::optional<Child> child_;
};

// True when both settings say the same in every flag and control character.
bool sameSettings(const termios& left, const termios& right);

}  // namespace testsupport
