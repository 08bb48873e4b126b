#include "core/flowscope_shell.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "core/dispatcher.h"
#include "core/line_executor.h"
#include "tests/core/shell_fixture.h"
#include "traffic/traffic_output.h"

namespace flowscope {
namespace {

using Names = std::vector<std::string>;

Names namesOf(const TopologyNode& node) {
  Names names;
  for (const auto& child : node.children) names.push_back(child->name);
  return names;
}

const TopologyNode& nodeAt(TopologyNode& root, const Names& path) {
  const TopologyNode* node = &root;
  for (const auto& name : path) {
    node = node->findChild(name);
    if (node == nullptr) throw std::runtime_error("no node " + name);
  }
  return *node;
}

// A shell on a device that a file describes, or on the built-in one.
class Device {
 public:
  explicit Device(const std::string& toml = "") {
    if (!toml.empty()) {
      std::ofstream(file_) << toml;
      ::setenv("EVTSRV_ENDPOINT", ("embedded:" + file_.string()).c_str(), 1);
    }
    trafficOutput().trafficMode = TrafficOff;
    trafficOutput().monitorTarget = EvtSrv::DebugPortName;
    manager = std::make_unique<EvtSrv::EventPortManager>(EvtSrv::ConBehave_Void, true);
    shell = std::make_unique<FlowScope>(*manager, true, around.io);
    shell->init(*manager);
  }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  ~Device() { std::filesystem::remove(file_); }

  std::string run(const std::string& line) {
    code = runCommands(*shell, line);
    return around.out.take();
  }

  test::Surroundings around;
  std::unique_ptr<EvtSrv::EventPortManager> manager;
  std::unique_ptr<FlowScope> shell;
  ResultCode code = 0;

 private:
  std::filesystem::path file_ =
      std::filesystem::temp_directory_path() / ("device-" + std::to_string(::getpid()) + ".toml");
};

TEST(FlowScopeShell, TreeOfTheBuiltInDevice) {
  Device device;
  TopologyNode& root = device.shell->tree();
  EXPECT_EQ(root.name, "/");
  EXPECT_EQ(namesOf(root), (Names{"Midi", "Audio", "Control"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi"})), (Names{"Source", "Sink"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Audio"})), Names{});
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Source"})),
            (Names{"Keyboard", "Panel", "Sequencer", "Arpeggiator", "MidiDin", "MidiUsb", "Clock", "Thru"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Sink"})),
            (Names{"Panel", "Sequencer", "Arpeggiator", "ToneGenerator", "MidiDin", "MidiUsb", "Thru"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Source", "Sequencer"})),
            (Names{"SequencerOut1", "SequencerOut2", "SequencerOut3", "SequencerOut4"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Sink", "MidiUsb"})), (Names{"MidiUsbIn1", "MidiUsbIn2"}));
  EXPECT_EQ(nodeAt(root, {"Midi", "Sink", "MidiUsb", "MidiUsbIn2"}).children.size(), 0U);
}

TEST(FlowScopeShell, GroupsStandInTheDevicesOrderAndWithoutANameAsBrackets) {
  Device device(R"(
[[group]]
id = 42
name = "Late"
sources = 1

[[group]]
id = 7
name = "Zebra"
sources = 2
sinks = 0

[[group]]
id = 3
name = "Ant"
sources = 1

[[group]]
id = 65535
name = "Last"
sources = 1
)");
  TopologyNode& root = device.shell->tree();
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Source"})), (Names{"[]", "Zebra", "Ant", "[]"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Source", "[]"})), Names{"LateOut1"});
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Sink"})), Names{"Zebra"});
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Sink", "Zebra"})), Names{});
}

TEST(FlowScopeShell, TreeWithoutAService) {
  ::setenv("EVTSRV_ENDPOINT", "nonsense://", 1);
  testing::internal::CaptureStderr();
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("nonsense://"), std::string::npos);
  test::Surroundings around;
  FlowScope shell(manager, true, around.io);
  shell.init(manager);
  EXPECT_EQ(namesOf(nodeAt(shell.tree(), {"Midi", "Source"})), Names{});
  EXPECT_EQ(namesOf(nodeAt(shell.tree(), {"Midi", "Sink"})), Names{});
}

TEST(FlowScopeShell, WalkingTheTree) {
  Device device;
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
  Device device;
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
TEST(FlowScopeShell, Completion) {
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

TEST(FlowScopeShell, TheTwelveCommandsInTheirOrder) {
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
  Device device;
  device.shell->setRunning(false);
  EXPECT_FALSE(device.shell->isRunning());
  EXPECT_FALSE(device.shell->lineEditor().running());
  EXPECT_FALSE(inputRunning);
  device.shell->setRunning(true);
  EXPECT_TRUE(device.shell->lineEditor().running());
  EXPECT_TRUE(inputRunning);
}

TEST(FlowScopeShell, AFinishedLineRunsOnTheCurrentShell) {
  Device device;
  FlowScope second(*device.manager, true, device.around.io);
  second.init(*device.manager);
  EXPECT_EQ(device.shell->runEditedLine("cd Midi"), ResultOk);
  EXPECT_EQ(second.currentPath(), Names{"Midi"});
  EXPECT_EQ(device.shell->currentPath(), Names{});
}

TEST(FlowScopeShell, CommandsWithoutAnOverrideDoNothing) {
  Device device;
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
  Device device;
  EXPECT_EQ(device.run("help"), "");
  EXPECT_EQ(device.around.system.lines, std::vector<std::string>{"man flowscope"});
}

TEST(FlowScopeShell, EndAndTerminateStopTheMonitorAndExitQuitsToo) {
  for (const char* line : {"end", "terminate", "quit", "exit", "q"}) {
    Device device;
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

TEST(FlowScopeShell, LiveTrafficOfTheBuiltInSequencer) {
  Device device;
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

TEST(FlowScopeShell, TheNewestShellIsTheCurrentOne) {
  Device device;
  EXPECT_EQ(StatBase::current(), device.shell.get());
  FlowScope second(*device.manager, true, device.around.io);
  EXPECT_EQ(StatBase::current(), &second);
  EXPECT_TRUE(device.shell->isRunning());
}

}  // namespace
}  // namespace flowscope
