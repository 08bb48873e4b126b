// Listing, completion and walking on devices that are large, empty, or oddly named.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "core/flowscope_shell.h"
#include "core/line_executor.h"
#include "tests/core/shell_fixture.h"
#include "traffic/traffic_output.h"

namespace flowscope {
namespace {

class OddDevice : public testing::Test {
 protected:
  void open(const std::string& toml) {
    std::ofstream(file) << toml;
    ::setenv("EVTSRV_ENDPOINT", ("embedded:" + file.string()).c_str(), 1);
    manager = std::make_unique<EvtSrv::EventPortManager>(EvtSrv::ConBehave_Void, true);
    shell = std::make_unique<FlowScope>(*manager, true, around.io);
    shell->init(*manager);
    trafficOutput().monitorTarget = EvtSrv::DebugPortName;
  }

  void TearDown() override { std::filesystem::remove(file); }

  std::string run(const std::string& line) {
    code = runCommands(*shell, line);
    return around.out.take();
  }

  // What the line becomes when Tab is pressed behind it.
  std::string completed(const std::string& line) {
    FlowScope typist(*manager, false, around.io);
    typist.init(*manager);
    typist.lineEditor().drawPrompt(typist.promptText(), line);
    typist.lineEditor().handleKey('\t');
    around.out.take();
    return typist.lineEditor().buffer();
  }

  std::filesystem::path file = std::filesystem::temp_directory_path() / ("odd-" + std::to_string(::getpid()) + ".toml");
  test::Surroundings around;
  std::unique_ptr<EvtSrv::EventPortManager> manager;
  std::unique_ptr<FlowScope> shell;
  ResultCode code = 0;
};

TEST_F(OddDevice, WithoutGroupsListsAsEmpty) {
  open("");
  EXPECT_EQ(run("ls -r /Midi"), "\n+-- Source\n+-- Sink\n");
  EXPECT_EQ(run("ls /Midi/Source"), "\n");
  EXPECT_EQ(code, ResultOk);
  EXPECT_EQ(run("cd Midi/Source; cat; end"), "");
  EXPECT_EQ(completed("ls /Midi/Source/"), "ls /Midi/Source/");
}

TEST_F(OddDevice, WithMoreGroupsThanNamesShowsTheOthersAsBrackets) {
  std::string toml;
  for (int id = 0; id < 60; ++id) {
    toml += "[[group]]\nid = " + std::to_string(id) + "\nname = \"G" + std::to_string(id) + "\"\nsources = 1\n";
  }
  open(toml);
  const auto listed = run("ls /Midi/Source");
  EXPECT_NE(listed.find("\nG41"), std::string::npos);
  EXPECT_EQ(listed.find("\nG42"), std::string::npos);
  std::size_t unnamed = 0;
  for (auto at = listed.find("[]"); at != std::string::npos; at = listed.find("[]", at + 1)) ++unnamed;
  EXPECT_EQ(unnamed, 18U);
  // A path reaches the first of them.
  EXPECT_EQ(run("cd Midi/Source/[]; ls"), "G42Out1  \n\n");
  EXPECT_EQ(completed("ls /Midi/Source/["), "ls /Midi/Source/[]/");
}

TEST_F(OddDevice, WithTheLargestGroupListsEachPort) {
  open(
      "[[group]]\nid = 0\nname = \"Wall\"\nsources = 65535\nsinks = 65535\n"
      "[[connection]]\nsource = \"WallOut65535\"\nsink = \"WallIn65535\"\n");
  const auto listed = run("ls /Midi/Source/Wall");
  EXPECT_EQ(std::count(listed.begin(), listed.end(), '\n'), 1 + 2 * 65535);
  EXPECT_NE(run("ls -r /Midi/Sink/Wall").find("+-- WallIn65535/\n\033[22m    +-- Wall/\n        +-- WallOut65535  \n"),
            std::string::npos);
  EXPECT_EQ(completed("cat /Midi/Sink/Wall/WallIn6553"), "cat /Midi/Sink/Wall/WallIn6553");
  EXPECT_EQ(completed("cat /Midi/Sink/Wall/WallIn65535"), "cat /Midi/Sink/Wall/WallIn65535");
  EXPECT_EQ(run("cat /Midi/Source/Wall/WallOut65535; cat /Midi/Source/Wall/WallOut65536"), "");
  EXPECT_EQ(shell->attached(), std::vector<std::string>{"WallOut65535"});
}

TEST_F(OddDevice, WithNamesThatAreExpressionsCanBeListedAndEntered) {
  open(
      "[[group]]\nid = 0\nname = \"a.b+(c)|{d}?\"\nsources = 1\n[[group]]\nid = 1\nname = \"axb+(c)|{d}?\"\nsources = "
      "1\n");
  EXPECT_EQ(run("ls /Midi/Source"), "\na.b+(c)|{d}?  \n\naxb+(c)|{d}?  \n\n");
  EXPECT_EQ(run("ls /Midi/Source/axb+(c)|{d}?"), "\naxb+(c)|{d}?Out1  \n\n");
  const auto both = run("ls /Midi/Source/a.b+(c)|{d}?");
  EXPECT_NE(both.find("/Midi/Source/a.b+(c)|{d}?:\n"), std::string::npos);
  EXPECT_NE(both.find("/Midi/Source/axb+(c)|{d}?:\n"), std::string::npos);
  EXPECT_EQ(run("cd Midi/Source/a.b+(c)|{d}?; pwd"), "/Midi/Source/a.b+(c)|{d}?\n");
  EXPECT_EQ(completed("cd /Midi/Source/a."), "cd /Midi/Source/a.b+(c)|{d}?/");
}

}  // namespace
}  // namespace flowscope
