#include "tests/support/terminal_case.h"

#include "tests/support/escapes.h"
#include "tests/support/wildcard.h"

namespace testsupport {
namespace {

using namespace std::chrono_literals;

// Changes of the terminal's settings cannot be waited for: they are polled at this interval.
constexpr auto LookAgain = 10ms;

// What is compared as a whole must still match after the program has written nothing for this long, so that extra
// output is noticed.
constexpr auto Pause = 50ms;

constexpr Failure Done = std::nullopt;

std::string joined(const std::vector<std::string>& rows) {
  std::string text;
  for (const std::string& row : rows) {
    text += "\n  |" + row;
  }
  return text;
}

std::string_view withoutBlanksAtEnd(std::string_view text) { return text.substr(0, text.find_last_not_of(' ') + 1); }

// The row of the cursor, counted from the first row that was ever shown.
std::size_t absoluteRow(const Screen& screen) {
  return screen.scrolledRows().size() + static_cast<std::size_t>(screen.cursor().row);
}

}  // namespace

TerminalCase::TerminalCase(const Command& command, WindowSize size, PseudoTerminal::Input input,
                           std::chrono::milliseconds patience)
    : patience_(patience), terminal_(command, size, input), screen_(size) {}

template <typename Condition>
bool TerminalCase::until(Condition condition) {
  const Deadline deadline(patience_);
  for (;;) {
    takeIn();
    if (condition()) {
      return true;
    }
    if (terminal_.ended() || deadline.passed()) {
      return false;
    }
    terminal_.read(deadline.atMost(LookAgain));
  }
}

template <typename Condition>
bool TerminalCase::untilSettled(Condition condition) {
  const Deadline deadline(patience_);
  for (;;) {
    if (!until(condition)) {
      return false;
    }
    if (!terminal_.read(deadline.atMost(Pause))) {
      return true;
    }
    if (deadline.passed()) {
      takeIn();
      return condition();
    }
  }
}

void TerminalCase::takeIn() {
  screen_.feed(std::string_view(terminal_.output()).substr(fed_));
  fed_ = terminal_.output().size();
}

std::vector<std::string> TerminalCase::allRows() const {
  std::vector<std::string> rows = screen_.scrolledRows();
  const std::vector<std::string> visible = screen_.rows();
  rows.insert(rows.end(), visible.begin(), visible.end());
  return rows;
}

std::string TerminalCase::shown() const {
  const Place cursor = screen_.cursor();
  return "the screen, cursor at " + std::to_string(cursor.row) + " " + std::to_string(cursor.column) + ":" +
         joined(screen_.rows());
}

Failure TerminalCase::lookedAt(bool cameTrue, std::string_view what) {
  if (cameTrue) {
    looked_ = fed_;
    return Done;
  }
  return std::string(what) + (terminal_.ended() ? "\nthe program has ended; " : "\n") + shown();
}

Failure TerminalCase::type(std::string_view bytes) {
  typedRow_ = absoluteRow(screen_);
  typedBehind_ = withoutBlanksAtEnd(screen_.textBeforeCursor());
  return terminal_.type(bytes, Deadline(patience_)) ? Done : Failure("the program does not take its input");
}

Failure TerminalCase::resize(WindowSize size) {
  terminal_.resize(size);
  takeIn();
  screen_.resize(size);
  return Done;
}

Failure TerminalCase::signal(int number) {
  terminal_.signal(number);
  return Done;
}

Failure TerminalCase::closeInput() {
  terminal_.closeInput();
  return Done;
}

Failure TerminalCase::hangUp() {
  terminal_.hangUp();
  return Done;
}

Failure TerminalCase::waitForText(const std::string& text) {
  const std::string pattern = "{*}" + text + "{*}";
  const bool found = until([&] {
    for (int row = 1; row <= screen_.size().rows; ++row) {
      if (matchesText(pattern, screen_.fullRow(row))) {
        return true;
      }
    }
    return false;
  });
  return lookedAt(found, "not on the screen: \"" + text + "\"");
}

Failure TerminalCase::waitForPrompt(std::string_view text) {
  const std::string_view expected = withoutBlanksAtEnd(text);
  const bool found = until([&] {
    return withoutBlanksAtEnd(screen_.textBeforeCursor()) == expected &&
           (absoluteRow(screen_) > typedRow_ || typedBehind_ != expected);
  });
  return lookedAt(found, "no new prompt \"" + std::string(text) + "\"");
}

Failure TerminalCase::waitForScreen(const std::vector<std::string>& patterns) {
  const bool same = untilSettled([&] { return matchesRows(patterns, screen_.rows()); });
  return lookedAt(same, "the screen differs from:" + joined(patterns));
}

Failure TerminalCase::waitForTranscript(const std::vector<std::string>& patterns) {
  const bool same = untilSettled([&] { return matchesRows(patterns, allRows()); });
  return lookedAt(same, "what was shown differs from:" + joined(patterns) + "\nshown:" + joined(allRows()));
}

Failure TerminalCase::waitForBytes(std::string_view pattern) {
  const auto unseen = [&] { return std::string_view(terminal_.output()).substr(looked_); };
  const bool same = untilSettled([&] { return matchesText(pattern, unseen()); });
  return lookedAt(same, "expected bytes: " + escape(pattern) + "\nwritten bytes:  " + escape(unseen()));
}

Failure TerminalCase::waitForCursor(Place place) {
  const bool there = until([&] { return screen_.cursor() == place; });
  return lookedAt(there, "the cursor is not at " + std::to_string(place.row) + " " + std::to_string(place.column));
}

Failure TerminalCase::waitForStyle(Place place, const Cell& style) {
  const auto styleThere = [&] {
    Cell cell = screen_.cell(place);
    cell.text = style.text;
    return cell;
  };
  const bool same = until([&] { return styleThere() == style; });
  const Cell cell = screen_.cell(place);
  return lookedAt(same, "another style: \"" + cell.text + "\"" + (cell.bold ? " bold" : "") +
                            (cell.underline ? " underline" : "") + (cell.blink ? " blink" : "") +
                            (cell.reverse ? " reverse" : "") + " colour " + std::to_string(cell.colour));
}

Failure TerminalCase::waitForRawMode() {
  const bool raw = until([&] {
    const termios now = terminal_.settings();
    return (now.c_lflag & (ICANON | ECHO)) == 0;
  });
  return lookedAt(raw, "the terminal is not in raw mode");
}

Failure TerminalCase::waitForRestoredMode() {
  const bool restored = until([&] { return sameSettings(terminal_.settings(), terminal_.settingsAtStart()); });
  return lookedAt(restored, "the terminal's settings are not those from before the start");
}

Failure TerminalCase::waitForExit(const ExitStatus& expected) {
  const std::optional<ExitStatus> status = terminal_.waitForExit(Deadline(patience_));
  takeIn();
  if (!status.has_value()) {
    return "the program has not ended\n" + shown();
  }
  if (*status != expected) {
    return "ended with " + describe(*status) + " instead of " + describe(expected) + "\n" + shown();
  }
  return Done;
}

}  // namespace testsupport
