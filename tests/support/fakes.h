// Fakes for what surrounds a shell: the window, the keys, the command interpreter.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/shell_io.h"
#include "terminal/key_source.h"
#include "terminal/terminal_size.h"

namespace flowscope::test {

// A window whose size the test sets, also between two lines.
class FixedSize : public TerminalSize {
 public:
  explicit FixedSize(int rowsAtFirst = 24, int columnsAtFirst = 80)
      : rowCount(rowsAtFirst), columnCount(columnsAtFirst) {}
  int rows() override { return rowCount; }
  int columns() override { return columnCount; }

  int rowCount;
  int columnCount;
};

// Returns the given bytes one by one, then the end of input.
class ScriptedKeys : public KeySource {
 public:
  ScriptedKeys() = default;
  explicit ScriptedKeys(std::deque<int> answers) : answers_(std::move(answers)) {}

  // Adds bytes at the end.
  void type(std::string_view text) { answers_.insert(answers_.end(), text.begin(), text.end()); }

  std::size_t left() const { return answers_.size(); }

  int readByte() override {
    ++reads;
    if (answers_.empty()) return EndOfInput;
    const int answer = answers_.front();
    answers_.pop_front();
    return answer;
  }

  int reads = 0;

 private:
  std::deque<int> answers_;
};

// Runs nothing.
class NoCommands : public SystemCommands {
 public:
  void run(const std::string& /*line*/) override {}
};

// Runs nothing and records the commands.
class RecordedCommands : public SystemCommands {
 public:
  void run(const std::string& line) override { lines.push_back(line); }
  std::vector<std::string> lines;
};

}  // namespace flowscope::test
