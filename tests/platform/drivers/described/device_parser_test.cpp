#include "platform/drivers/described/device_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace drivers {
namespace {

using testing::ElementsAre;

TEST(DeviceParser, UnderstandsAWholeDevice) {
  const auto result = parseDevice(R"(
# A small studio.
[[group]]
id = 3
name = "My Synth"
sources = 2
sinks = 1

[[group]]
id = 65535
name = "Box"
sources = 0
sinks = 65535

[[group]]
id = 0
name = "Box"
sources = 3
sinks = 3
thru = true

[[connection]]
source = "My_SynthOut2"
sink = "BoxIn65535"
[[connection]]
source = "Box_2Out1"
sink = "My_SynthIn1"
[[connection]]
source = "My_SynthOut2"
sink = "BoxIn65535"

[[player]]
source = "My_SynthOut1"
file = "songs/one.mid"
[[player]]
source = "Box_2Out3"
file = "/two.mid"
loop = false
speed = 0
[[player]]
source = "Box_2Out3"
clock = 97.5
[[player]]
source = "Box_2Out2"
file = "three.mid"
speed = 2.5
)");
  ASSERT_TRUE(std::holds_alternative<ParsedDevice>(result)) << std::get<DeviceFileProblem>(result).cause;
  const auto& [device, filePlayers] = std::get<ParsedDevice>(result);

  ASSERT_EQ(device.groups.size(), 3U);
  EXPECT_EQ(device.groups[0].wantedId, 3);
  EXPECT_EQ(device.groups[0].name, "My_Synth");
  EXPECT_EQ(device.groups[0].sources->count, 2);
  EXPECT_EQ(device.groups[1].wantedId, 65535);
  EXPECT_EQ(device.groups[1].sources->count, 0);
  EXPECT_EQ(device.groups[1].sinks->count, 65535);
  EXPECT_EQ(device.groups[2].name, "Box_2");
  EXPECT_THAT(device.thrus, ElementsAre(0));
  EXPECT_THAT(device.links, ElementsAre(device::Link{3, 1, 65535, 65534}, device::Link{0, 0, 3, 0}));

  ASSERT_EQ(device.clocks.size(), 1U);
  EXPECT_EQ(device.clocks[0].source, (device::PortId{0, 2, device::Side::Source}));
  EXPECT_EQ(device.clocks[0].playback.beatsPerMinute, 97.5);
  ASSERT_EQ(filePlayers.size(), 3U);
  EXPECT_EQ(filePlayers[0].source, (device::PortId{3, 0, device::Side::Source}));
  EXPECT_EQ(filePlayers[0].file, "songs/one.mid");
  EXPECT_TRUE(filePlayers[0].loop);
  EXPECT_EQ(filePlayers[0].speed, 1);
  EXPECT_EQ(filePlayers[0].line, 34U);
  EXPECT_FALSE(filePlayers[1].loop);
  EXPECT_EQ(filePlayers[1].speed, 0);
  EXPECT_EQ(filePlayers[2].speed, 2.5);
}

TEST(DeviceParser, ASideThatIsNotGivenIsAbsent) {
  const auto result = parseDevice("[[group]]\nid = 1\nname = 'A'\nsinks = 0\n");
  const device::Group& group = std::get<ParsedDevice>(result).device.groups.at(0);
  EXPECT_FALSE(group.sources);
  ASSERT_TRUE(group.sinks);
  EXPECT_EQ(group.sinks->count, 0);
}

TEST(DeviceParser, AnEmptyFileIsADeviceWithoutGroups) {
  const auto result = parseDevice("# nothing\n");
  EXPECT_TRUE(std::get<ParsedDevice>(result).device.groups.empty());
}

TEST(DeviceParser, ALongGroupNameLeavesRoomForItsPorts) {
  const auto result = parseDevice("[[group]]\nid = 1\nname = '" + std::string(100, 'x') + "'\nsources = 65535\n");
  const device::Group& group = std::get<ParsedDevice>(result).device.groups.at(0);
  EXPECT_EQ(group.name, std::string(55, 'x'));
  EXPECT_EQ(group.sources->nameOf(65534).size(), 63U);
}

// Keys so deep that building or taking down their tables would exhaust the stack.
TEST(DeviceParser, DeepKeysAreRefused) {
  constexpr int Parts = 100'000;
  std::string deep = "a";
  for (int part = 1; part < Parts; ++part) deep += ".a";
  const std::string opening = "# three\n# lines\n\n";
  for (const std::string& text : {deep + " = 1\n", "[" + deep + "]\n", "[[" + deep + "]]\n", "x = {" + deep + " = 1}\n",
                                  "x = [{y = 'a', " + deep + " = 1}]\n"}) {
    const auto result = parseDevice(opening + text);
    const auto* problem = std::get_if<DeviceFileProblem>(&result);
    ASSERT_NE(problem, nullptr) << text.substr(0, 20);
    EXPECT_EQ(problem->line, 4U) << text.substr(0, 20);
    EXPECT_EQ(problem->cause, "a key of more than 16 parts") << text.substr(0, 20);
  }
}

// What stands above the lines in question: group A with two ports on each side, in lines 1 to 5.
constexpr std::string_view GroupA = "[[group]]\nid = 1\nname = 'A'\nsources = 2\nsinks = 2\n";

TEST(DeviceParser, EveryErrorHasItsLineAndCause) {
  const struct {
    std::string text;
    std::string problem;
  } table[] = {
      {"[[group\n", "1: Error while parsing table header: expected ']', saw '\\n'"},
      {"a = 1\na = 2\n", "2: Error while parsing key-value pair: cannot redefine existing integer 'a'"},
      {"\n\nport = 3\n", "3: a device file has no key 'port'"},
      {"\n[group]\nid = 1\n", "2: 'group' must be written as [[group]]"},
      {"\ngroup = 3\n", "2: 'group' must be written as [[group]]"},
      {"\ngroup = [{id = 1, name = 'A'}, 3]\n", "2: 'group' must be written as [[group]]"},
      {"[connection]\n", "1: 'connection' must be written as [[connection]]"},
      {"player = {}\n", "1: 'player' must be written as [[player]]"},

      {"\n[[group]]\nname = 'A'\n", "2: a group needs an id"},
      {"\n[[group]]\nid = 1\n", "2: a group needs a name"},
      {"[[group]]\nid = 1\nname = 'A'\nports = 3\n", "4: a group has no key 'ports'"},
      {"[[group]]\nzzz = 1\nid = 1\naaa = 2\n", "2: a group has no key 'zzz'"},
      {"[[group]]\nname = 'A'\nid = -1\n", "3: id must be a whole number from 0 to 65535"},
      {"[[group]]\nname = 'A'\nid = 65536\n", "3: id must be a whole number from 0 to 65535"},
      {"[[group]]\nname = 'A'\nid = 1.0\n", "3: id must be a whole number from 0 to 65535"},
      {"[[group]]\nname = 'A'\nid = '1'\n", "3: id must be a whole number from 0 to 65535"},
      {"[[group]]\nid = 1\nname = 3\n", "3: name must be a text in quotes"},
      {"[[group]]\nid = 1\nname = 'A'\nsources = -1\n", "4: sources must be a whole number from 0 to 65535"},
      {"[[group]]\nid = 1\nname = 'A'\nsinks = 65536\n", "4: sinks must be a whole number from 0 to 65535"},
      {"[[group]]\nid = 1\nname = 'A'\nsinks = true\n", "4: sinks must be a whole number from 0 to 65535"},
      {"[[group]]\nid = 1\nname = 'A'\nthru = 1\n", "4: thru must be true or false"},
      {"[[group]]\nid = 1\nname = 'A'\nsinks = 1\nthru = true\n", "5: thru needs sources and sinks"},
      {std::string(GroupA) + "[[group]]\nname = 'B'\nid = 1\n", "8: id 1 is taken by the group in line 2"},

      {std::string(GroupA) + "[[connection]]\nsink = 'AIn1'\n", "6: a connection needs a source"},
      {std::string(GroupA) + "[[connection]]\nsource = 'AOut1'\n", "6: a connection needs a sink"},
      {std::string(GroupA) + "[[connection]]\nsource = 'AOut3'\nsink = 'AIn1'\n", "7: no such port: 'AOut3'"},
      {std::string(GroupA) + "[[connection]]\nsource = 'AOut1'\nsink = 'Foo'\n", "8: no such port: 'Foo'"},
      {std::string(GroupA) + "[[connection]]\nsource = 'AIn1'\nsink = 'AIn1'\n", "7: 'AIn1' is a sink, not a source"},
      {std::string(GroupA) + "[[connection]]\nsource = 'AOut1'\nsink = 'AOut1'\n",
       "8: 'AOut1' is a source, not a sink"},
      {std::string(GroupA) + "[[connection]]\nsource = 1\nsink = 'AIn1'\n", "7: source must be a text in quotes"},
      {std::string(GroupA) + "[[connection]]\nsource = 'AOut1'\nsink = 'AIn1'\nfrom = 1\n",
       "9: a connection has no key 'from'"},
      {std::string(GroupA) + "[[connection]]\nsource = \"\\u001b[31m\\n\"\nsink = 'AIn1'\n",
       "7: no such port: '\\x1B[31m\\x0A'"},

      {std::string(GroupA) + "[[player]]\nclock = 120\n", "6: a player needs a source"},
      {std::string(GroupA) + "[[player]]\nsource = 'AIn1'\nclock = 120\n", "7: 'AIn1' is a sink, not a source"},
      {std::string(GroupA) + "[[player]]\nsource = 'BOut1'\nclock = 120\n", "7: no such port: 'BOut1'"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\n", "6: a player needs a file or a clock"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = 'x'\nclock = 120\n",
       "9: a player has a file or a clock, not both"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = 3\n", "8: file must be a text in quotes"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = ''\n", "8: invalid file name"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = \"a\\u0000b\"\n", "8: invalid file name"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = 'x'\nloop = 'no'\n",
       "9: loop must be true or false"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = 'x'\nspeed = -1\n",
       "9: speed must be 0 or a number from 0.01 to 1000"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = 'x'\nspeed = nan\n",
       "9: speed must be 0 or a number from 0.01 to 1000"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = 'x'\nspeed = inf\n",
       "9: speed must be 0 or a number from 0.01 to 1000"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nfile = 'x'\nspeed = '1'\n",
       "9: speed must be 0 or a number from 0.01 to 1000"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nclock = 0\n",
       "8: clock must be a number from 0.01 to 60000"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nclock = -inf\n",
       "8: clock must be a number from 0.01 to 60000"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nclock = nan\n",
       "8: clock must be a number from 0.01 to 60000"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nclock = true\n",
       "8: clock must be a number from 0.01 to 60000"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nclock = 120\nspeed = 2\n",
       "9: speed is allowed only with file"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nclock = 120\nloop = true\n",
       "9: loop is allowed only with file"},
      {std::string(GroupA) + "[[player]]\nsource = 'AOut1'\nclock = 120\ntempo = 1\n",
       "9: a player has no key 'tempo'"},
  };
  for (const auto& row : table) {
    const auto result = parseDevice(row.text);
    const auto* problem = std::get_if<DeviceFileProblem>(&result);
    ASSERT_NE(problem, nullptr) << row.text;
    EXPECT_EQ(std::to_string(problem->line) + ": " + problem->cause, row.problem) << row.text;
  }
}

TEST(DeviceParser, BoundsTheNumberOfPorts) {
  std::string text;
  for (int id = 0; id < 16; ++id) {
    text += "[[group]]\nid = " + std::to_string(id) + "\nname = 'G'\nsources = 65535\nsinks = 65535\n";
  }
  const std::string most = text + "[[group]]\nid = 16\nname = 'G'\nsinks = 32\n";
  EXPECT_TRUE(std::holds_alternative<ParsedDevice>(parseDevice(most)));
  const auto parsed = parseDevice(most + "[[group]]\nid = 17\nname = 'G'\nsources = 1\n");
  const auto* problem = std::get_if<DeviceFileProblem>(&parsed);
  ASSERT_NE(problem, nullptr);
  EXPECT_EQ(problem->line, 86U);
  EXPECT_EQ(problem->cause, "too many ports: a device has at most 2097152");
}

}  // namespace
}  // namespace drivers
