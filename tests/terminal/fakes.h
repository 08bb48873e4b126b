// Stand-ins for what surrounds the terminal room.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "terminal/editor_host.h"
#include "tests/support/fakes.h"

namespace flowscope::test {

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
