// Commands on a group of two thousand ports on each side.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/core/device_shell.h"

namespace flowscope {
namespace {

using Names = std::vector<std::string>;
using Ports = std::vector<StrmSrv::PortRecord>;

constexpr std::uint16_t Count = 2000;

class LargeGroup : public testing::Test {
 protected:
  static Names names(const std::string& front) {
    Names all;
    for (int number = 1; number <= Count; ++number) all.push_back(front + std::to_string(number));
    return all;
  }

  std::string run(const std::string& line) { return device_.run(line); }
  const AttachedList& attached() { return device_.shell->attached(); }

  Ports sinksOf(std::uint16_t port) {
    Ports ports;
    device_.shell->patcher()->getConnectSinkPorts(1, port, ports);
    return ports;
  }

  Ports sourcesOf(std::uint16_t port) {
    Ports ports;
    device_.shell->patcher()->getConnectSourcePorts(1, port, ports);
    return ports;
  }

 private:
  test::DeviceShell device_{"[[group]]\nid = 1\nname = \"G\"\nsources = 2000\nsinks = 2000\n"};
};

TEST_F(LargeGroup, IsConnectedAndDisconnectedByPattern) {
  std::string lines;
  for (const auto& name : names("GOut")) lines += "connect /Midi/Source/G/" + name + ":/Midi/Sink/G/GIn7\n";
  EXPECT_EQ(run("con /Midi/Source/G/* /Midi/Sink/G/GIn7"), lines);
  Ports expected;
  for (std::uint16_t port = 0; port < Count; ++port) expected.push_back({1, port});
  EXPECT_EQ(sourcesOf(6), expected);
  EXPECT_EQ(sinksOf(1999), (Ports{{1, 6}}));

  EXPECT_EQ(run("dis /Midi/Source/G/GOut1*"), "");
  std::erase_if(expected, [](const auto& port) { return std::to_string(port.portIndex + 1).starts_with("1"); });
  EXPECT_EQ(sourcesOf(6), expected);
  EXPECT_EQ(run("dis /Midi/Sink/G/*"), "");
  EXPECT_EQ(sourcesOf(6), Ports{});
  EXPECT_EQ(sinksOf(1999), Ports{});
}

TEST_F(LargeGroup, IsAttachedInTheOrderOfItsPorts) {
  EXPECT_EQ(run("cat /Midi/Sink/G/*"), "");
  EXPECT_TRUE(attached() == names("GIn"));
  EXPECT_EQ(run("cat /Midi/Source/G/GOut5; cat /Midi/Sink/G/*; cat /Midi/Source/G/GOut3"), "");
  Names more = names("GIn");
  more.insert(more.end(), {"GOut5", "GOut3"});
  EXPECT_TRUE(attached() == more);
  run("end");
  EXPECT_TRUE(attached().empty());
  EXPECT_EQ(run("cd /Midi/Source/G; cat"), "");
  EXPECT_TRUE(attached() == names("GOut"));
}

TEST_F(LargeGroup, ListsEachPort) {
  run("con /Midi/Source/G /Midi/Sink/G");
  std::string expected;
  for (const auto& name : names("GIn")) expected += "\n/Midi/Sink/G/" + name + ":\nG  \n\n";
  EXPECT_EQ(run("ls /Midi/Sink/G/*"), expected);
  run("dis /Midi/Source/G/GOut2");
  expected.erase(expected.find("GIn2:\nG  \n\n") + 6, 5);
  EXPECT_EQ(run("ls /Midi/Sink/G/*"), expected);
}

TEST_F(LargeGroup, IsReachedByALongPathThroughUnknownNames) {
  std::string path = "/Midi/Source/G/";
  for (int step = 0; step < 5000; ++step) path += "a/";
  EXPECT_EQ(run("cd " + path + "GOut1234; pwd"), "/Midi/Source/G/GOut1234\n");
  EXPECT_EQ(run("cd; cd " + path + "GOut2001; pwd"), "/\n");
}

}  // namespace
}  // namespace flowscope
