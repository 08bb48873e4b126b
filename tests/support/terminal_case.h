// The part of a case that runs on a terminal: it types keys and checks the screen.
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

// Why a step failed, as text; nullopt on success. Every check waits for its condition, at most as long as the patience,
// and fails at once if the program has ended without it.
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

  // A visible row contains text, in which "{*}" stands for anything.
  Failure waitForText(const std::string& text);

  // The cursor is behind text, and was not when something was last typed: it was in a row above, or behind another
  // text.
  Failure waitForPrompt(std::string_view text);

  // The visible rows, or all rows that were ever shown, match the patterns (wildcard.h), and still match after the
  // program has paused.
  Failure waitForScreen(const std::vector<std::string>& patterns);
  Failure waitForTranscript(const std::vector<std::string>& patterns);

  // Everything written since the last check that passed matches the pattern (wildcard.h), and still matches after the
  // program has paused.
  Failure waitForBytes(std::string_view pattern);

  Failure waitForCursor(Place place);

  // The cell has exactly this style; its text is not checked.
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
  std::size_t looked_ = 0;    // output up to here has been checked
  std::size_t typedRow_ = 0;  // the cursor's row when something was last typed; 0 before
  std::string typedBehind_;   // the text before the cursor then
};

}  // namespace testsupport
