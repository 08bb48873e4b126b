#include "core/line_executor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <utility>

#include "tests/core/shell_fixture.h"

namespace flowscope {
namespace {

using test::RecordingShell;
using Calls = std::vector<std::string>;

class LineExecutor : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directories(folder); }
  void TearDown() override { std::filesystem::remove_all(folder); }

  std::string script(const std::string& name, const std::string& text) {
    const auto path = folder / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

  std::string printed() { return around.out.take(); }

  Calls called() { return std::exchange(shell.calls, {}); }

  std::filesystem::path folder = std::filesystem::temp_directory_path() / ("scripts-" + std::to_string(::getpid()));
  test::Surroundings around;
  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Void, true};
  RecordingShell shell{manager, around.io};
};

TEST_F(LineExecutor, LineStopsAtTheFirstCommandThatIsNotOk) {
  EXPECT_EQ(runLine(shell, "cd a; cd b; cd c", false), ResultOk);
  EXPECT_EQ(called(), (Calls{"onCd [a]", "onCd [b]", "onCd [c]"}));
  EXPECT_EQ(runLine(shell, "cd a; ls x y; cd c", false), ResultOptionError);
  EXPECT_EQ(called(), Calls{"onCd [a]"});
  EXPECT_EQ(printed(), "ERROR: OptionError\n");
  EXPECT_EQ(runLine(shell, "cd a; quit; cd c", false), ResultQuit);
  EXPECT_EQ(called(), (Calls{"onCd [a]", "onExit"}));
}

TEST_F(LineExecutor, SilentCommandsDoNotStopTheirLine) {
  shell.answer = ResultSilent;
  EXPECT_EQ(runLine(shell, "cd a; cd b", false), ResultOk);
  EXPECT_EQ(called(), (Calls{"onCd [a]", "onCd [b]"}));
}

TEST_F(LineExecutor, LinesWithoutCommandsRunNothing) {
  EXPECT_EQ(runLine(shell, "", false), ResultSilent);
  EXPECT_EQ(runLine(shell, "   ", false), ResultSilent);
  EXPECT_EQ(runLine(shell, ";", false), ResultOk);
  EXPECT_EQ(runLine(shell, " ; ; ", false), ResultOk);
  EXPECT_EQ(called(), Calls{});
  EXPECT_EQ(printed(), "");
}

TEST_F(LineExecutor, OnlyScriptLinesLoseAnOpeningQuote) {
  EXPECT_EQ(runLine(shell, "  \"cd a", true), ResultOk);
  EXPECT_EQ(called(), Calls{"onCd [a]"});
  EXPECT_EQ(runLine(shell, "\"\"cd a", true), ResultSilent);
  EXPECT_EQ(called(), Calls{});
  EXPECT_EQ(runLine(shell, "\"cd\" a", false), ResultOk);
  EXPECT_EQ(called(), Calls{"onCd [a]"});
  EXPECT_EQ(runLine(shell, "\"cd\" a", true), ResultOk);
  EXPECT_EQ(called(), Calls{"onOther [cd\"] [a] -"});
}

TEST_F(LineExecutor, CommandsGoOnWhileOkOrSilent) {
  EXPECT_EQ(runCommands(shell, " cd a ; ; cd b "), ResultOk);
  EXPECT_EQ(called(), (Calls{"onCd [a]", "onCd [b]"}));
  EXPECT_EQ(runCommands(shell, "cd a;nonsense;cd b"), ResultOptionError);
  EXPECT_EQ(called(), Calls{"onCd [a]"});
  EXPECT_EQ(runCommands(shell, "pwd x;cd b"), ResultOk);
  EXPECT_EQ(called(), Calls{"onCd [b]"});
}

TEST_F(LineExecutor, ScriptEndsAtItsFirstEmptyLine) {
  EXPECT_EQ(runScript(shell, script("a", "cd a\ncd b; cd c\n   \ncd d\n")), ResultSilent);
  EXPECT_EQ(called(), (Calls{"onCd [a]", "onCd [b]", "onCd [c]"}));
  EXPECT_EQ(runScript(shell, script("b", "\ncd a\n")), ResultSilent);
  EXPECT_EQ(called(), Calls{});
  EXPECT_EQ(runScript(shell, script("c", "")), ResultSilent);
  EXPECT_EQ(called(), Calls{});
}

TEST_F(LineExecutor, LastLineOfAScriptCountsWithAndWithoutLineFeed) {
  EXPECT_EQ(runScript(shell, script("a", "cd a\n")), ResultSilent);
  EXPECT_EQ(called(), Calls{"onCd [a]"});
  EXPECT_EQ(runScript(shell, script("b", "cd a\ncd b")), ResultOk);
  EXPECT_EQ(called(), (Calls{"onCd [a]", "onCd [b]"}));
}

TEST_F(LineExecutor, ScriptStopsAtAFailingLine) {
  EXPECT_EQ(runScript(shell, script("a", "cd a\nls x y\ncd b\n")), ResultOptionError);
  EXPECT_EQ(called(), Calls{"onCd [a]"});
  EXPECT_EQ(printed(), "ERROR: OptionError\n");
}

TEST_F(LineExecutor, LinesOfAScriptHaveNineHundredAndNinetyNineBytesAtMost) {
  const std::string most = "cd " + std::string(996, 'x');
  EXPECT_EQ(runScript(shell, script("a", most + "\ncd b\n")), ResultSilent);
  EXPECT_EQ(called(), (Calls{"onCd [" + std::string(996, 'x') + "]", "onCd [b]"}));
  EXPECT_EQ(runScript(shell, script("b", most + "y\ncd b\n")), ResultSilent);
  EXPECT_EQ(called(), Calls{"onCd [" + std::string(996, 'x') + "]"});
}

TEST_F(LineExecutor, ErrorOfANestedScriptIsPrintedAgainByCmdfrom) {
  const auto inner = script("inner", "ls x y\n");
  EXPECT_EQ(runCommands(shell, "cmdfrom " + inner), ResultOptionError);
  EXPECT_EQ(printed(), "ERROR: OptionError\nERROR: OptionError\n");
}

TEST_F(LineExecutor, ScriptsNestAHundredDeep) {
  const auto path = (folder / "self").string();
  script("self", "cd a; cmdfrom " + path + "\n");
  EXPECT_EQ(runScript(shell, path), ResultOpenFileError);
  EXPECT_EQ(called().size(), std::size_t{MaximumScriptDepth});
  EXPECT_EQ(shell.scriptDepth(), 0);
  std::string expected;
  for (int count = 0; count < MaximumScriptDepth; ++count) expected += "ERROR: OpenFileError\n";
  EXPECT_EQ(printed(), expected);
}

TEST_F(LineExecutor, FilesThatCannotBeReadAreOpenFileErrors) {
  EXPECT_EQ(runScript(shell, (folder / "missing").string()), ResultOpenFileError);
  EXPECT_EQ(runScript(shell, folder.string()), ResultOpenFileError);
  EXPECT_EQ(runScript(shell, ""), ResultOpenFileError);
}

}  // namespace
}  // namespace flowscope
