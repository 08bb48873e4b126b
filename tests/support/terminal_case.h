// The part of a case that is played on a terminal: keys go in, the screen is looked at.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/pseudo_terminal.h"
#include "tests/support/screen.h"

namespace testsupport {

// What went wrong in a step, for people; nothing when it came true. Every look waits, up to the patience, for what
// it names, and gives up at once when the program has ended without it.
using Failure = std::optional<std::string>;

class TerminalCase {
 public:
  TerminalCase(const Command& command, WindowSize size, PseudoTerminal::Input input,
               std::chrono::milliseconds patience);

  Failure type(std::string_view bytes);
  Failure resize(WindowSize size);
  Failure signal(int number);
  Failure closeInput();
  Failure hangUp();

  // Some visible row contains text, in which "{*}" stands for anything.
  Failure waitForText(const std::string& text);

  // The cursor stands behind text, and did not when something was last typed: it stood in a row above, or behind
  // another text.
  Failure waitForPrompt(std::string_view text);

  // The visible rows, or all rows that were ever shown, have the form of the patterns (wildcard.h), and still have it
  // once the program has paused.
  Failure waitForScreen(const std::vector<std::string>& patterns);
  Failure waitForTranscript(const std::vector<std::string>& patterns);

  // Everything written since the last look that came true has the form of the pattern (wildcard.h), and still has it
  // once the program has paused.
  Failure waitForBytes(std::string_view pattern);

  Failure waitForCursor(Place place);

  // The cell has exactly this style; its text is not looked at.
  Failure waitForStyle(Place place, const Cell& style);

  // The terminal is in raw mode, or its settings are those from before the start.
  Failure waitForRawMode();
  Failure waitForRestoredMode();

  Failure waitForExit(const ExitStatus& expected);

 private:
  template <typename Condition>
  bool until(Condition condition);
  template <typename Condition>
  bool untilSettled(Condition condition);
  Failure lookedAt(bool cameTrue, std::string_view what);
  void takeIn();
  std::vector<std::string> allRows() const;
  std::string shown() const;

  std::chrono::milliseconds patience_;
  PseudoTerminal terminal_;
  Screen screen_;
  std::size_t fed_ = 0;       // output up to here is on the screen
  std::size_t looked_ = 0;    // output up to here has been looked at
  std::size_t typedRow_ = 0;  // where the cursor stood when something was last typed; 0 before
  std::string typedBehind_;   // the text it stood behind
};

}  // namespace testsupport
