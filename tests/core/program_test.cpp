#include "core/program.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "core/stat_base.h"
#include "tests/core/shell_fixture.h"

namespace flowscope {
namespace {

class Program : public testing::Test {
 protected:
  std::string run(const std::vector<const char*>& words) {
    status = runProgram(words, around.io);
    return around.out.take();
  }

  std::string script(const std::string& text) {
    std::ofstream(scriptFile) << text;
    return scriptFile.string();
  }

  void TearDown() override { std::filesystem::remove(scriptFile); }

  std::filesystem::path scriptFile = std::filesystem::temp_directory_path() / ("program-" + std::to_string(::getpid()));

  test::Surroundings around;
  int status = -1;
};

TEST_F(Program, OptionsRunFromLeftToRightEachInAShellOfItsOwn) {
  const auto file = script("pwd; cd Midi/Sink; pwd\npwd");
  EXPECT_EQ(run({"-c", "cd Midi; pwd", "-f", file.c_str(), "word", "-c", "pwd"}),
            "/Midi\n/\n/Midi/Sink\n/Midi/Sink\n/\n");
  EXPECT_EQ(status, 0);
  ASSERT_NE(StatBase::current(), nullptr);
  EXPECT_TRUE(StatBase::current()->isQuiet());
}

TEST_F(Program, AFailingCommandEndsItsLineAndNotTheProgram) {
  EXPECT_EQ(run({"-c", "pwd; ls a b; pwd", "-c", "pwd"}), "/\nERROR: OptionError\n/\n");
  EXPECT_EQ(status, 0);
}

TEST_F(Program, AMissingValueIsABadArgument) {
  EXPECT_EQ(run({"-c", "pwd", "-c"}), "/\nERROR: Bad Argument\n");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(run({"-f"}), "ERROR: Bad Argument\n");
  EXPECT_EQ(status, 0);
}

TEST_F(Program, TheValueOfAnOptionMayLookLikeAnOption) {
  EXPECT_EQ(run({"-c", "-f", "-c", "pwd"}), "ERROR: OptionError\n/\n");
}

TEST_F(Program, AScriptThatCannotBeReadPrintsNothing) {
  EXPECT_EQ(run({"-f", "/nowhere/at/all"}), "");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(run({"-f", "/"}), "");
  EXPECT_EQ(status, 0);
}

TEST_F(Program, OtherWordsAreSkippedAndOptionsMatchWhole) {
  EXPECT_EQ(run({"one", "-cc", "--f", "-c", ";", "-c", "pwd"}), "/\n");
  EXPECT_EQ(status, 0);
}

TEST_F(Program, OptionsNeverTouchTheKeyboard) {
  around.keys.type("pwd\n");
  EXPECT_EQ(run({"-c", "cd Midi"}), "");
  EXPECT_EQ(around.keys.left(), 4U);
}

TEST_F(Program, WithoutOptionsTheShellRunsUntilQuit) {
  around.keys.type("cd Midi\nquit\npwd\n");
  const auto printed = run({"plain", "words", "only"});
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(printed.starts_with("\033[0G[ /]$ \033[7G\033[0K\033[7G")) << printed;
  EXPECT_NE(printed.find("[ Midi]$ "), std::string::npos) << printed;
  EXPECT_EQ(printed.find("/Midi\n"), std::string::npos) << printed;
  EXPECT_EQ(around.keys.left(), 4U);
}

TEST_F(Program, EndOfInputEndsTheShell) {
  around.keys.type("pwd\n");
  const auto printed = run({});
  EXPECT_EQ(status, 0);
  EXPECT_NE(printed.find("\033[39m\033[1G/\n"), std::string::npos) << printed;
}

}  // namespace
}  // namespace flowscope
