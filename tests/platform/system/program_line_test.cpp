#include "platform/system/program_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/full_terminal.h"

namespace sys {
namespace {

TEST(ProgramLine, BeginsWithTheNameOfThisProgram) {
  const std::string name = std::filesystem::read_symlink("/proc/self/exe").filename();
  EXPECT_EQ(programName(), name);
  EXPECT_EQ(programLine("here: there"), name + ": here: there");
  testing::internal::CaptureStderr();
  sayLine("100% of %s");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), name + ": 100% of %s\n");
}

TEST(ProgramLine, LinesOfSeveralThreadsDoNotMix) {
  constexpr int Each = 500;
  const std::vector<std::string> said{std::string(300, 'a'), std::string(2000, 'b'), std::string(5000, 'c')};
  testing::internal::CaptureStderr();
  std::vector<std::thread> threads;
  for (const std::string& line : said) {
    threads.emplace_back([&line] {
      for (int i = 0; i < Each; ++i) sayLine(line);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::istringstream text(testing::internal::GetCapturedStderr());
  std::vector<int> counts(said.size());
  for (std::string line; std::getline(text, line);) {
    for (std::size_t i = 0; i < said.size(); ++i) {
      if (line == programLine(said[i])) ++counts[i];
    }
  }
  EXPECT_THAT(counts, testing::Each(Each));
}

// What a terminal that does not block has no room for comes when it has.
TEST(ProgramLine, WaitsForRoomOnATerminalThatDoesNotBlock) {
  constexpr int Lines = 2000;
  std::string expected;
  for (int i = 0; i < Lines; ++i) expected += programLine(std::to_string(i)) + "\r\n";
  const std::string seen = testsupport::readFromFullTerminal(expected.size(), [] {
    for (int i = 0; i < Lines; ++i) sayLine(std::to_string(i));
  });
  EXPECT_TRUE(seen == expected) << seen.size() << " of " << expected.size() << " bytes";
}

// In a process of their own, because the name is asked for once.
class ProgramLineDeathTest : public testing::Test {
 protected:
  ProgramLineDeathTest() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }

  [[noreturn]] static void sayAs(std::string name) {
    program_invocation_short_name = name.data();
    sayLine("line");
    name.assign(name.size(), '#');
    sayLine("line");
    std::_Exit(0);
  }
};

TEST_F(ProgramLineDeathTest, NameIsPrintableAndStaysWhenArgumentsAreOverwritten) {
  EXPECT_EXIT(sayAs("a\x1b[31m\nb\xff"), testing::ExitedWithCode(0),
              "^a\\\\x1B\\[31m\\\\x0Ab\\\\xFF: line\na\\\\x1B\\[31m\\\\x0Ab\\\\xFF: line\n$");
}

TEST_F(ProgramLineDeathTest, ProgramWithoutANameHasThatOfTheLibrary) {
  EXPECT_EXIT(sayAs(""), testing::ExitedWithCode(0), "^evtsrv: line\nevtsrv: line\n$");
}

}  // namespace
}  // namespace sys
