#include "core/flowscope_shell.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/dispatcher.h"
#include "core/line_executor.h"
#include "tests/core/device_shell.h"
#include "traffic/traffic_output.h"

namespace flowscope {
namespace {

using test::DeviceShell;
using Names = std::vector<std::string>;

TEST(FlowScopeShell, CdWalksTheTree) {
  DeviceShell device;
  struct Row {
    const char* line;
    const char* printed;
  };
  const Row rows[] = {
      {"pwd", "/\n"},
      {"cd ..; pwd", "/\n"},
      {"cd Midi/Source/Sequencer; pwd", "/Midi/Source/Sequencer\n"},
      {"cd ~; pwd", "/Midi\n"},
      {"cd ~/Sink; pwd", "/Midi/Sink\n"},
      {"cd nowhere; pwd", "/Midi/Sink\n"},
      {"cd ./Panel; pwd", "/Midi/Sink\n"},
      {"cd panel; pwd", "/Midi/Sink\n"},
      {"cd Panel/; pwd", "/Midi/Sink/Panel\n"},
      {"cd x//Audio; pwd", "/Audio\n"},
      {"cd /Midi/nothing/Source; pwd", "/Midi/Source\n"},
      {"cd; pwd", "/\n"},
      {"cd ~", "ERROR: Bad Argument\n"},
      {"cd \"\"", "ERROR: Bad Argument\n"},
      {"pwd", "/\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(device.run(row.line), row.printed) << row.line;
}

TEST(FlowScopeShell, PromptShowsTheLastPartOfThePath) {
  DeviceShell device;
  EXPECT_EQ(device.shell->promptText(), " /");
  device.run("cd Midi/Source");
  EXPECT_EQ(device.shell->promptText(), " Source");
  device.shell->setPromptLabel("deck");
  EXPECT_EQ(device.shell->promptText(), "deck Source");
  device.run("cd");
  EXPECT_EQ(device.shell->promptText(), "deck /");
}

TEST(FlowScopeShell, ANewLabelIsDrawnAtOnce) {
  test::Surroundings around;
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  FlowScope shell(manager, false, around.io);
  shell.init(manager);
  EXPECT_EQ(around.out.take(), "\033[0G[ /]$ \033[7G\033[0K\033[7G");
  shell.setPromptLabel("deck");
  EXPECT_EQ(around.out.take(), "\033[0G[deck /]$ \033[11G\033[0K\033[11G");
}

// What completion makes of a line, and how often the prompt is drawn.
TEST(FlowScopeShell, TabCompletesCommandsAndPaths) {
  test::Surroundings around;
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  FlowScope shell(manager, false, around.io);
  shell.init(manager);
  struct Row {
    const char* directory;
    const char* line;
    const char* completed;
    const char* listed;
  };
  const Row rows[] = {
      {"cd", "", "", "cat"},
      {"cd", "c", "c", "con "},
      {"cd", "co", "con ", nullptr},
      {"cd", "x", "x", nullptr},
      {"cd", "ls ", "ls ", "Midi/"},
      {"cd", "ls M", "ls Midi/", nullptr},
      {"cd", "ls m", "ls m", nullptr},
      {"cd", "cat Midi/S", "cat Midi/S", "Source/"},
      {"cd", "con a Midi/So", "con a Midi/Source/", nullptr},
      {"cd", "con a ", "con a ", "Control"},
      {"cd", "ls ~/", "ls ~/", nullptr},
      {"cd", "ls nowhere/S", "ls nowhere/S", nullptr},
      {"cd /Midi/Source/Sequencer", "cat S", "cat SequencerOut", "SequencerOut4"},
      {"cd /Midi/Source/Sequencer", "cat ../../Si", "cat ../../Sink/", nullptr},
      {"cd /Midi/Source/Sequencer", "cat ~/Sink/Thru/T", "cat ~/Sink/Thru/ThruIn1", nullptr},
  };
  for (const auto& row : rows) {
    runCommands(shell, row.directory);
    shell.lineEditor().drawPrompt(shell.promptText(), row.line);
    around.out.take();
    shell.lineEditor().handleKey('\t');
    EXPECT_EQ(shell.lineEditor().buffer(), row.completed) << row.line;
    EXPECT_EQ(shell.lineEditor().cursor(), shell.lineEditor().buffer().size()) << row.line;
    const auto printed = around.out.take();
    EXPECT_NE(printed.find("]$ "), std::string::npos) << row.line;
    if (row.listed != nullptr) {
      EXPECT_NE(printed.find(row.listed), std::string::npos) << printed;
    }
  }
}

TEST(FlowScopeShell, TabListsTheTwelveCommandsInTheirOrder) {
  test::Surroundings around;
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  FlowScope shell(manager, false, around.io);
  shell.init(manager);
  around.out.take();
  EXPECT_EQ(dispatch(shell, "tab"), ResultOk);
  const auto printed = around.out.take();
  std::size_t at = 0;
  for (const char* name : {"cat", "cd", "con", "dis", "end", "exit", "from", "ls", "terminate", "to", "help", "quit"}) {
    at = printed.find(std::string("G") + name + " ", at);
    ASSERT_NE(at, std::string::npos) << name;
  }
}

TEST(FlowScopeShell, ListingMarksAttachedAndConnectedPorts) {
  test::Surroundings around;
  trafficOutput().monitorTarget = EvtSrv::DebugPortName;
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  FlowScope shell(manager, false, around.io);
  shell.init(manager);
  runCommands(shell, "cat /Midi/Source/Sequencer/SequencerOut1");
  around.out.take();
  EXPECT_EQ(runCommands(shell, "ls -r /Midi/Source/Sequencer"), ResultOk);
  const auto printed = around.out.take();
  EXPECT_NE(printed.find("\033[7m\033[39m\033[1G+-- SequencerOut1/\n\033[27m"), std::string::npos) << printed;
  EXPECT_NE(printed.find("\033[1m\033[39m\033[1G+-- SequencerOut2/\n\033[22m"), std::string::npos) << printed;
  EXPECT_NE(printed.find("\033[39m\033[1G+-- SequencerOut3\n"), std::string::npos) << printed;
}

TEST(FlowScopeShell, TheRunningFlagReachesEditorAndInputThread) {
  DeviceShell device;
  device.shell->setRunning(false);
  EXPECT_FALSE(device.shell->isRunning());
  EXPECT_FALSE(device.shell->lineEditor().running());
  EXPECT_FALSE(inputRunning);
  device.shell->setRunning(true);
  EXPECT_TRUE(device.shell->lineEditor().running());
  EXPECT_TRUE(inputRunning);
}

TEST(FlowScopeShell, AFinishedLineRunsOnTheCurrentShell) {
  DeviceShell device;
  FlowScope second(*device.manager, true, device.around.io);
  second.init(*device.manager);
  EXPECT_EQ(device.shell->runEditedLine("cd Midi"), ResultOk);
  EXPECT_EQ(second.currentPath(), Names{"Midi"});
  EXPECT_EQ(device.shell->currentPath(), Names{});
}

TEST(FlowScopeShell, CommandsWithoutAnOverrideDoNothing) {
  DeviceShell device;
  for (const char* line : {"set a", "str a", "get a", "eu a", "du a", "load a", "save a", "rn a b", "rm a", "mkdir a",
                           "convert a b", "bt", "unknown a"}) {
    EXPECT_EQ(device.run(line), "") << line;
    EXPECT_EQ(device.code, ResultOk) << line;
    EXPECT_TRUE(device.shell->isRunning());
    EXPECT_TRUE(device.shell->currentPath().empty());
    EXPECT_TRUE(device.shell->attached().empty());
  }
}

TEST(FlowScopeShell, HelpShowsTheManualPage) {
  DeviceShell device;
  EXPECT_EQ(device.run("help"), "");
  EXPECT_EQ(device.around.system.lines, std::vector<std::string>{"man flowscope"});
}

TEST(FlowScopeShell, EndAndTerminateStopTheMonitorAndExitQuitsToo) {
  for (const char* line : {"end", "terminate", "quit", "exit", "q"}) {
    DeviceShell device;
    device.run("cat /Midi/Source/Sequencer/SequencerOut1");
    ASSERT_EQ(device.shell->attached(), Names{"SequencerOut1"});
    ASSERT_EQ(trafficOutput().trafficMode, TrafficScreen);
    EXPECT_EQ(device.run(line), "");
    EXPECT_TRUE(device.shell->attached().empty());
    EXPECT_EQ(trafficOutput().trafficMode, TrafficOff);
    const std::string_view command(line);
    EXPECT_EQ(device.shell->isRunning(), command == "end" || command == "terminate") << line;
  }
}

TEST(FlowScopeShell, CatShowsTheTrafficOfTheBuiltInSequencer) {
  DeviceShell device;
  device.run("cd Midi/Source/Sequencer; cat -l *");
  EXPECT_EQ(device.shell->attached(), (Names{"SequencerOut1", "SequencerOut2", "SequencerOut3", "SequencerOut4"}));
  std::string printed;
  const auto shows = [&](const char* text) { return printed.find(text) != std::string::npos; };
  const auto* const on = "SequencerOut1) note on  :note= 0x";
  const auto* const off = "SequencerOut1) note off :note= 0x";
  for (int turn = 0; turn < 100 && !(shows(on) && shows(off)); ++turn) {
    device.manager->receiveEvent(100);
    printed += device.around.out.take();
  }
  EXPECT_TRUE(shows(on)) << printed;
  EXPECT_TRUE(shows(off)) << printed;
}

TEST(FlowScopeShell, ShellsOfOneManagerShareTheDeviceAndNothingElse) {
  DeviceShell device;
  FlowScope second(*device.manager, true, device.around.io);
  second.init(*device.manager);
  const auto runSecond = [&](const std::string& line) {
    runCommands(second, line);
    return device.around.out.take();
  };
  const std::string list = "ls -r /Midi/Source/Panel/PanelOut1";
  const std::string unconnected = device.run(list);
  EXPECT_EQ(runSecond(list), unconnected);
  device.run("con /Midi/Source/Panel/PanelOut1 /Midi/Sink/Thru/ThruIn1");
  const std::string connected = device.run(list);
  EXPECT_NE(connected.find("ThruIn1"), std::string::npos) << connected;
  EXPECT_EQ(runSecond(list), connected);
  runSecond("dis /Midi/Source/Panel/PanelOut1");
  EXPECT_EQ(runSecond(list), unconnected);
  EXPECT_EQ(device.run(list), unconnected);

  device.run("cd Midi; cat /Midi/Source/Panel/PanelOut1");
  runSecond("cat /Midi/Source/Thru/ThruOut1");
  EXPECT_EQ(device.shell->currentPath(), Names{"Midi"});
  EXPECT_EQ(second.currentPath(), Names{});
  EXPECT_EQ(device.shell->attached(), Names{"PanelOut1"});
  EXPECT_EQ(second.attached(), Names{"ThruOut1"});
  runSecond("end");
  EXPECT_EQ(device.shell->attached(), Names{"PanelOut1"});
  EXPECT_EQ(second.attached(), Names{});
}

TEST(FlowScopeShell, TheNewestShellIsTheCurrentOne) {
  DeviceShell device;
  EXPECT_EQ(StatBase::current(), device.shell.get());
  FlowScope second(*device.manager, true, device.around.io);
  EXPECT_EQ(StatBase::current(), &second);
  EXPECT_TRUE(device.shell->isRunning());
}

}  // namespace
}  // namespace flowscope
