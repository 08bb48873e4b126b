// The topology of a device, as clients get it.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/device/topology.h"
#include "tests/platform/host/whole_answer.h"
#include "tests/support/sanitizer.h"

namespace host {
namespace {

using device::Side;
using device::SideOfGroup;

// What a client has after the topology was encoded and decoded.
std::vector<device::Group> received(const device::Topology& topology, std::uint64_t firstHandle = 0) {
  const ServiceWithPorts house(topology);
  const auto pieces = topologyAnswer(*house.service, firstHandle);
  WholeAnswer<wire::Topology> whole(*pieces);
  return whole.answer ? std::move(whole.answer->groups) : std::vector<device::Group>();
}

// Many names, as long as they may be.
SideOfGroup longNames(std::uint16_t count, char first) {
  SideOfGroup side{count, "", {}};
  for (std::uint16_t index = 0; index < count; ++index) {
    const std::string number = std::to_string(index);
    side.names.push_back(first + number + std::string(device::MaxNameBytes - 1 - number.size(), 'n'));
  }
  return side;
}

wire::Original bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

// The service's own view of a device, and the client's.
TEST(TopologyMessage, PortsHaveTheSameNamesInTheServiceAndInTheClient) {
  const std::string longName(55, 'L');
  const device::Topology topology({
      device::numberedGroup(0, "Keys", 3, std::nullopt),
      device::numberedGroup(1, "Box", 0, 2),
      // Ports with the names that ports which do not exist would have.
      {2,
       "Odd",
       SideOfGroup{3, "", {"KeysOut4", "Group9In1", "KeysOut4_2"}},
       SideOfGroup{2, "", {"BoxOut1", "x"}},
       {},
       2},
      device::numberedGroup(41, longName, 2, 65'535),
      device::numberedGroup(65'535, "Last", 1, 1),
  });
  const device::Topology names(received(topology));
  const std::vector<std::uint16_t> groups{0, 1, 2, 9, 41, 65'534, 65'535};
  const std::vector<std::uint16_t> indexes{0, 1, 2, 3, 4, 9, 99, 65'533, 65'534, 65'535};
  for (const std::uint16_t group : groups) {
    for (const std::uint16_t index : indexes) {
      for (const Side side : {Side::Source, Side::Sink}) {
        EXPECT_EQ(names.name({group, index, side}), topology.name({group, index, side}));
      }
    }
  }
  EXPECT_EQ(names.name({0, 3, Side::Source}), "KeysOut4_3");
  EXPECT_EQ(names.name({9, 0, Side::Sink}), "Group9In1_2");
  EXPECT_EQ(names.name({1, 0, Side::Source}), "BoxOut1_2");
  EXPECT_EQ(names.name({41, 65'534, Side::Sink}), longName + "In65535");
}

TEST(TopologyMessage, RemovedPortsKeepTheirPlacesButNotTheirNames) {
  device::Group real{3, "Real", SideOfGroup{3, "", {"a", "b", "c"}, {"A", "B", "C"}, {false, true, false}},
                     std::nullopt, "REAL"};
  device::Group counted = device::numberedGroup(4, "Counted", std::nullopt, 2);
  counted.sinks->gone = {true, false};
  const auto groups = received(device::Topology({real, counted}), 100);

  real = {103, "Real", SideOfGroup{3, "", {"a", "", "c"}, {}, {false, true, false}}, std::nullopt};
  counted.handle = 104;
  counted.sinks->names = {"", "CountedIn2"};
  EXPECT_EQ(groups, (std::vector{real, counted}));

  const device::Topology topology(groups);
  EXPECT_EQ(topology.name({103, 2, Side::Source}), "c");
  EXPECT_FALSE(topology.exists({103, 1, Side::Source}));
  EXPECT_EQ(topology.name({103, 1, Side::Source}), "RealOut2");
  EXPECT_EQ(topology.port(""), std::nullopt);
}

TEST(TopologyMessage, GroupsAndSidesOfRemovedPortsAreLeftOut) {
  const SideOfGroup here{1, "", {"a"}, {}, {false}};
  const SideOfGroup gone{2, "", {"b", "c"}, {}, {true, true}};
  const auto groups = received(device::Topology({{0, "None", gone, gone},
                                                 {1, "Left", gone, std::nullopt},
                                                 {2, "Half", gone, here},
                                                 {3, "Bare", std::nullopt, std::nullopt},
                                                 device::numberedGroup(4, "Empty", 0, std::nullopt)}));
  std::vector<std::string> names;
  for (const device::Group& group : groups) names.push_back(group.name);
  EXPECT_EQ(names, (std::vector<std::string>{"Half", "Bare", "Empty"}));
  EXPECT_EQ(groups.at(0).sources, std::nullopt);
  EXPECT_TRUE(groups.at(0).sinks.has_value());
}

TEST(TopologyPieces, LargestGroupComesInPieces) {
  constexpr std::uint16_t Most = 65'535;
  const std::vector<device::Group> groups{
      device::numberedGroup(0, "Numbered", Most, Most),
      {1, "Large", longNames(Most, 's'), longNames(Most, 'd')},
      {2, "Small", SideOfGroup{1, "", {"x"}}, std::nullopt},
  };
  const ServiceWithPorts house{device::Topology(groups)};
  const auto pieces = topologyAnswer(*house.service, 0);
  const WholeAnswer<wire::Topology> whole(*pieces);
  EXPECT_GT(whole.count, 8U);
  ASSERT_TRUE(whole.answer);
  EXPECT_TRUE(whole.answer->groups == groups);
  EXPECT_LT(whole.longest.time(), service::LongestAllowed);
}

TEST(TopologyPieces, ManyGroupsOfManyPortsComeInPieces) {
  std::vector<device::Group> groups;
  for (std::uint16_t id = 0; id < 42; ++id) {
    constexpr std::uint16_t Ports = testsupport::Sanitized ? 2'048 : 16'384;
    SideOfGroup side{Ports, "", {}};
    for (int port = 0; port < Ports; ++port)
      side.names.push_back("g" + std::to_string(id) + "p" + std::to_string(port));
    groups.push_back({id, "G" + std::to_string(id), std::move(side), std::nullopt});
  }
  const ServiceWithPorts house{device::Topology(groups)};
  const auto pieces = topologyAnswer(*house.service, 0);
  const WholeAnswer<wire::Topology> whole(*pieces);
  ASSERT_TRUE(whole.answer);
  EXPECT_TRUE(whole.answer->groups == groups);
  EXPECT_LT(whole.longest.time(), service::LongestAllowed);
}

// Ports that have gone have places in the list, and numbered sides have names once one has gone.
TEST(TopologyPieces, RemovedPortsAreLeftOutInAllPieces) {
  device::Group group = device::numberedGroup(0, "Half", 30'000, 30'000);
  for (auto* side : {&*group.sources, &*group.sinks}) {
    for (int port = 0; port < 30'000; ++port) side->gone.push_back(port % 2 == 0);
  }
  device::Group gone = device::numberedGroup(1, "Gone", 30'000, std::nullopt);
  gone.sources->gone.assign(30'000, true);
  const ServiceWithPorts house{device::Topology({gone, group, device::numberedGroup(2, "Last", 1, 1)})};
  const auto pieces = topologyAnswer(*house.service, 0);
  const WholeAnswer<wire::Topology> whole(*pieces);
  EXPECT_GT(whole.count, 3U);
  ASSERT_TRUE(whole.answer);
  ASSERT_EQ(whole.answer->groups.size(), 2U);
  const device::Topology topology(whole.answer->groups);
  for (std::uint16_t port = 0; port < 30'000; ++port) {
    ASSERT_EQ(topology.exists({0, port, Side::Source}), port % 2 == 1);
    ASSERT_EQ(topology.exists({0, port, Side::Sink}), port % 2 == 1);
  }
  EXPECT_EQ(topology.name({0, 29'999, Side::Sink}), "HalfIn30000");
}

TEST(TopologyPieces, AnswerBeginsAnewWhenPortsChange) {
  const auto topology = [](char first) {
    return device::Topology({{0, "Large", longNames(30'000, first), std::nullopt},
                             {1, std::string("Small") + first, SideOfGroup{1, "", {"x"}}, std::nullopt}});
  };
  const ServiceWithPorts house{topology('a')};
  const auto pieces = topologyAnswer(*house.service, 0);
  const WholeAnswer<wire::Topology> whole(*pieces, [&](std::size_t count) {
    if (count == 2) house.device->change(topology('b'));
  });
  ASSERT_TRUE(whole.answer);
  EXPECT_TRUE(whole.answer->groups == topology('b').groups());
}

TEST(OriginalPieces, ComeInPiecesAndAnewWhenPortsChange) {
  constexpr std::uint16_t Ports = 20'000;
  const auto topology = [](const std::string& first) {
    device::Group group{0, "G", longNames(Ports, 's'), longNames(Ports, 'd'), first + " group"};
    for (auto* side : {&*group.sources, &*group.sinks}) {
      for (std::uint16_t port = 0; port < Ports; ++port) side->originals.push_back(first + side->names[port]);
    }
    device::Group unnamed = device::numberedGroup(1, "Own", 3, 3);
    device::Group last{2, "L", SideOfGroup{1, "", {"x"}, {first}}, std::nullopt, first};
    return device::Topology({std::move(group), std::move(unnamed), std::move(last)});
  };
  const ServiceWithPorts house{topology("a")};
  const auto pieces = originalsAnswer(*house.service, 100);
  const WholeAnswer<wire::Originals> whole(*pieces, [&](std::size_t count) {
    if (count == 3) house.device->change(topology("b"));
  });
  EXPECT_GT(whole.count, 8U);
  ASSERT_TRUE(whole.answer);
  ASSERT_EQ(whole.answer->groups.size(), 2U);
  const wire::OriginalGroup& large = whole.answer->groups[0];
  EXPECT_EQ(large.handle, 100U);
  EXPECT_EQ(large.name, bytesOf("b group"));
  ASSERT_EQ(large.sources.size(), Ports);
  ASSERT_EQ(large.sinks.size(), Ports);
  const auto expected = topology("b");
  for (std::uint16_t port = 0; port < Ports; ++port) {
    ASSERT_EQ(large.sources[port], bytesOf(expected.groups()[0].sources->originals[port]));
    ASSERT_EQ(large.sinks[port], bytesOf(expected.groups()[0].sinks->originals[port]));
  }
  EXPECT_EQ(whole.answer->groups[1].handle, 102U);
  EXPECT_EQ(whole.answer->groups[1].sources, std::vector<wire::Original>{bytesOf("b")});
  EXPECT_LT(whole.longest.time(), service::LongestAllowed);
}

TEST(OriginalPieces, NamesOfAnyLengthAreCut) {
  const std::string endless(2U << 20U, 'e');
  device::Group group{0, "G", SideOfGroup{3, "", {"a", "b", "c"}, {endless, "short", endless}}, std::nullopt, endless};
  const ServiceWithPorts house{device::Topology({group})};
  const auto pieces = originalsAnswer(*house.service, 0);
  const WholeAnswer<wire::Originals> whole(*pieces);
  ASSERT_TRUE(whole.answer);
  const wire::Original cut = bytesOf(endless.substr(0, 1024));
  ASSERT_EQ(whole.answer->groups.size(), 1U);
  EXPECT_EQ(whole.answer->groups[0].name, cut);
  EXPECT_EQ(whole.answer->groups[0].sources, (std::vector<wire::Original>{cut, bytesOf("short"), cut}));
}

}  // namespace
}  // namespace host
