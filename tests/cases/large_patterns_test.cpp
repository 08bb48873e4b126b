// Patterns beyond all use end no program, neither by its stack nor by its memory: they match nothing.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/support/case_runner.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"

namespace {

using namespace std::chrono_literals;
using testsupport::Deadline;
using testsupport::ExitStatus;

std::string times(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

std::string listed(const std::string& pattern) {
  const testsupport::ScratchFolder scratch;
  testsupport::Command command{FLOWSCOPE_BINARY_DIR "/flowscope", {"-c", "ls " + pattern}, {}, scratch.path().string()};
  command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
  const auto result = testsupport::runProcess(command, "", Deadline(100s));
  EXPECT_EQ(result.status, ExitStatus::exited(0)) << pattern.substr(0, 60);
  EXPECT_EQ(result.standardError, "");
  return result.standardOutput;
}

TEST(LargePatterns, MatchNothing) {
  const std::string nothing = listed("/nothing/*");
  for (const std::string& pattern :
       {times("\\(", 15'000), times("\\(", 15'000) + times("\\)", 15'000), times("*", 20'000),
        "/Midi/Source/Clock" + times("*", 101), times("\\b", 60) + "/Midi", "/Midi" + times("\\+", 30)}) {
    EXPECT_EQ(listed(pattern), nothing) << pattern.substr(0, 60);
  }
  EXPECT_NE(listed("/Midi/Source/Clock" + times("*", 100)), nothing);
}

}  // namespace
