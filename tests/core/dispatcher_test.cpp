#include "core/dispatcher.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "tests/core/shell_fixture.h"

namespace flowscope {
namespace {

using test::RecordingShell;
using Calls = std::vector<std::string>;

class Dispatcher : public testing::Test {
 protected:
  test::Surroundings around;
  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Void, true};
  RecordingShell shell{manager, around.io};

  std::string printed() { return around.out.take(); }
};

constexpr const char* OptionError = "ERROR: OptionError\n";

TEST_F(Dispatcher, CommandsReachTheirSlots) {
  struct Row {
    const char* command;
    Calls calls;
  };
  const Row rows[] = {
      {"ls", {"onLs 0 -"}},
      {"ls -r a", {"onLs 1 [a]"}},
      {"ls a -m -l -c", {"onLs 14 [a]"}},
      {"ls -z", {"onLs 0 -"}},
      {"cd", {"onCd -"}},
      {"cd a", {"onCd [a]"}},
      {"cd \"a b\"", {"onCd [a b]"}},
      {"set -l a b", {"onSet 4 [a] [b]"}},
      {"set -c", {"onSet 8 - -"}},
      {"str a", {"onStr [a] -"}},
      {"get a", {"onGet [a]"}},
      {"eu -rml a", {"onEu 7 [a]"}},
      {"du -r a", {"onDu [a]"}},
      {"convert a b", {"onConvert [a] [b]"}},
      {"from a b", {"onFrom [a] [b]"}},
      {"to a", {"onTo [a] -"}},
      {"cat -l a", {"onCat 4 [a]"}},
      {"cat", {"onCat 0 -"}},
      {"con a b", {"onCon [a] [b]"}},
      {"con", {"onCon - -"}},
      {"dis a", {"onDis [a] -"}},
      {"load a", {"onLoad [a]"}},
      {"save a", {"onSave [a]"}},
      {"rn a b", {"onRn [a] [b]"}},
      {"rm a", {"onRm [a]"}},
      {"mkdir a", {"onMkdir [a]"}},
      {"bt -rmlc", {"onBt 15 -"}},
      {"end", {"onEnd"}},
      {"terminate", {"onTerminate"}},
      {"help", {"onHelp"}},
      {"nonsense a", {"onOther [nonsense] [a] -"}},
      {"nonsense a b c", {"onOther [nonsense] [a] [b]"}},
      {"nonsense -l", {"onOther [nonsense] [-l] -"}},
      {"tab", {"onTab - -"}},
      {"tab ", {"onTab - -"}},
      {"tab cd", {"onTab [cd] -"}},
      {"tab cd ", {"onTab [cd ] -"}},
      {"tab cd M", {"onTab [cd] [M]"}},
      {"tab con a b", {"onTab [con] [b]"}},
      {"tab con a ", {"onTab [con ] -"}},
  };
  for (const auto& row : rows) {
    shell.calls.clear();
    EXPECT_EQ(dispatch(shell, row.command), ResultOk) << row.command;
    EXPECT_EQ(shell.calls, row.calls) << row.command;
    EXPECT_EQ(printed(), "") << row.command;
  }
}

TEST_F(Dispatcher, ErrorsOfUseAreReportedOnceAndRunNothing) {
  struct Row {
    const char* command;
    ResultCode answer;
  };
  const Row rows[] = {
      {"ls a b", ResultOptionError},
      {"set -r", ResultOptionError},
      {"set a b c", ResultOptionError},
      {"cat -r", ResultOptionError},
      {"cd a b", ResultOptionError},
      {"cd -l", ResultOptionError},
      {"bt a", ResultOptionError},
      {"du -m", ResultOptionError},
      {"history a b", ResultOptionError},
      {"history -m", ResultOptionError},
      {"cmdfrom a b", ResultOptionError},
      {"setport a b", ResultOptionError},
      {"setport", ResultOptionError},
      {"setport a b c d", ResultOptionError},
      {"setport -l a b c", ResultOptionError},
      {"nonsense", ResultOptionError},
      {"quit now", ResultSilent},
      {"exit -l", ResultSilent},
      {"q \"\"", ResultSilent},
      {"pwd x", ResultSilent},
      {"end x", ResultSilent},
      {"terminate -l", ResultSilent},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(dispatch(shell, row.command), row.answer) << row.command;
    EXPECT_EQ(printed(), OptionError) << row.command;
    EXPECT_EQ(shell.calls, Calls{}) << row.command;
    EXPECT_TRUE(shell.isRunning()) << row.command;
  }
}

TEST_F(Dispatcher, BlanksRunNothing) {
  for (const char* command : {"", " ", "     "}) {
    EXPECT_EQ(dispatch(shell, command), ResultSilent);
    EXPECT_EQ(shell.calls, Calls{});
    EXPECT_EQ(printed(), "");
  }
}

TEST_F(Dispatcher, QuitCommandsEndTheShell) {
  for (const char* command : {"exit", "quit", "q", "  quit  "}) {
    shell.calls.clear();
    shell.setRunning(true);
    shell.answer = ResultConnectError;
    EXPECT_EQ(dispatch(shell, command), ResultQuit);
    EXPECT_EQ(shell.calls, Calls{"onExit"});
    EXPECT_FALSE(shell.isRunning());
    EXPECT_EQ(printed(), "");
  }
}

TEST_F(Dispatcher, CodesOfOperationsAreReportedOnce) {
  shell.answer = ResultConnectError;
  for (const char* command : {"cat a", "end", "terminate", "help", "nonsense a", "ls"}) {
    EXPECT_EQ(dispatch(shell, command), ResultConnectError) << command;
    EXPECT_EQ(printed(), "ERROR: ConnectError\n") << command;
  }
  shell.answer = ResultSilent;
  EXPECT_EQ(dispatch(shell, "cat a"), ResultSilent);
  EXPECT_EQ(printed(), "");
}

TEST_F(Dispatcher, HelpWithArgumentsDoesNothing) {
  EXPECT_EQ(dispatch(shell, "help me"), ResultSilent);
  EXPECT_EQ(shell.calls, Calls{});
  EXPECT_EQ(printed(), "");
}

TEST_F(Dispatcher, PwdPrintsTheCurrentPath) {
  EXPECT_EQ(dispatch(shell, "pwd"), ResultOk);
  EXPECT_EQ(printed(), "/\n");
  shell.setPath({"Midi", "Source"});
  EXPECT_EQ(dispatch(shell, "pwd"), ResultOk);
  EXPECT_EQ(printed(), "/Midi/Source\n");
}

TEST_F(Dispatcher, PortSettingsNeedAllThree) {
  EXPECT_EQ(dispatch(shell, "setport a \"b c\" d"), ResultSilent);
  EXPECT_EQ(shell.portSettings(), (std::array<std::string, 3>{"a", "b c", "d"}));
  EXPECT_EQ(dispatch(shell, "setport x y"), ResultOptionError);
  EXPECT_EQ(shell.portSettings(), (std::array<std::string, 3>{"a", "b c", "d"}));
}

TEST_F(Dispatcher, HistoryPrintsEntriesWholeAndNumbered) {
  const std::string longLine(300, 'x');
  for (const auto& line : {std::string("pp"), longLine}) {
    for (const char letter : line) shell.lineEditor().handleKey(letter);
    shell.lineEditor().handleKey('\n');
  }
  printed();
  EXPECT_EQ(dispatch(shell, "history"), ResultOk);
  EXPECT_EQ(printed(), "0 pp\n1 " + longLine + "\n");
  EXPECT_EQ(dispatch(shell, "history ignored"), ResultOk);
  EXPECT_EQ(printed(), "0 pp\n1 " + longLine + "\n");
}

TEST_F(Dispatcher, SystemCommandsGetTheRestOfTheText) {
  EXPECT_EQ(dispatch(shell, "$echo \"a  b\" c"), ResultSilent);
  EXPECT_EQ(dispatch(shell, "$"), ResultSilent);
  EXPECT_EQ(around.system.lines, (std::vector<std::string>{"echo \"a  b\" c", ""}));
  EXPECT_EQ(shell.calls, Calls{});
  EXPECT_EQ(printed(), "");
}

TEST_F(Dispatcher, DollarCountsOnlyAsTheFirstCharacter) {
  EXPECT_EQ(dispatch(shell, " $echo"), ResultOptionError);
  EXPECT_EQ(around.system.lines, std::vector<std::string>{});
}

TEST_F(Dispatcher, ExceptionsBecomeCodesAndTheShellLivesOn) {
  shell.during = [] { throw std::out_of_range("x"); };
  EXPECT_EQ(dispatch(shell, "cd a"), ResultBadArgument);
  EXPECT_EQ(printed(), "ERROR: Bad Argument\n");
  shell.during = [] { throw std::bad_alloc(); };
  EXPECT_EQ(dispatch(shell, "cd a"), ResultOutOfMemory);
  EXPECT_EQ(printed(), "ERROR: OutOfMemory\n");
  shell.during = [] { throw std::runtime_error("x"); };
  EXPECT_EQ(dispatch(shell, "cd a"), ResultUnknownError);
  EXPECT_EQ(printed(), "ERROR: UnknownError\n");
  shell.during = nullptr;
  EXPECT_EQ(dispatch(shell, "cd a"), ResultOk);
  EXPECT_TRUE(shell.isRunning());
}

TEST_F(Dispatcher, MissingScriptIsAnOpenFileError) {
  for (const char* command : {"cmdfrom", "cmdfrom /nowhere/at/all", "cmdfrom /"}) {
    EXPECT_EQ(dispatch(shell, command), ResultOpenFileError) << command;
    EXPECT_EQ(printed(), "ERROR: OpenFileError\n") << command;
  }
}

// The generic shell knows every command and does none.
TEST_F(Dispatcher, SlotsOfTheGenericShellAreSilent) {
  class Generic : public StatBase {
   public:
    using StatBase::StatBase;
  };
  Generic generic(manager, true, around.io);
  for (const auto& row : {"ls",     "cd a",    "set a", "str a", "get a",     "eu a",   "du a",   "convert a b",
                          "from a", "to a",    "cat a", "con a", "dis a",     "load a", "save a", "rn a",
                          "rm a",   "mkdir a", "tab",   "end",   "terminate", "bt",     "help",   "nonsense a"}) {
    EXPECT_EQ(dispatch(generic, row), ResultSilent) << row;
    EXPECT_EQ(printed(), "") << row;
  }
  EXPECT_TRUE(generic.isRunning());
  EXPECT_EQ(generic.path(), std::vector<std::string>{});
}

}  // namespace
}  // namespace flowscope
