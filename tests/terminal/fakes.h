// Stand-ins for what surrounds the terminal room.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "terminal/editor_host.h"
#include "terminal/key_source.h"
#include "terminal/terminal_size.h"

namespace flowscope::test {

class FixedSize : public TerminalSize {
 public:
  explicit FixedSize(int rowCount = 24, int columnCount = 80) : rows_(rowCount), columns_(columnCount) {}
  int rows() override { return rows_; }
  int columns() override { return columns_; }

 private:
  int rows_;
  int columns_;
};

// Answers what it was given, one by one, then the end of input.
class ScriptedKeys : public KeySource {
 public:
  ScriptedKeys() = default;
  explicit ScriptedKeys(std::deque<int> answers) : answers_(std::move(answers)) {}

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

// Writes down the lines that it is asked to run, and answers what the test chose.
class RecordingHost : public EditorHost {
 public:
  std::string promptText() override {
    ++prompts;
    return prompt;
  }
  ResultCode runEditedLine(const std::string& line) override {
    if (during) during();
    lines.push_back(line);
    return answer;
  }
  void inputEnded() override { ++ends; }

  std::string prompt = "p /";
  ResultCode answer = ResultOk;
  std::function<void()> during;  // called inside a command, before the line is written down
  std::vector<std::string> lines;
  int prompts = 0;
  int ends = 0;
};

}  // namespace flowscope::test
