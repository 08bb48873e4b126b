#include "platform/host/topology_message.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "platform/device/topology.h"

namespace host {
namespace {

using device::Side;
using device::SideOfGroup;

// What a client has after the topology was encoded and decoded.
std::vector<device::Group> received(const device::Topology& topology, std::uint64_t firstHandle = 0) {
  const auto bytes = wire::encode(1, topologyMessage(topology, firstHandle));
  auto envelope = wire::decode(bytes);
  return envelope ? std::get<wire::Topology>(envelope->body).groups : std::vector<device::Group>();
}

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

}  // namespace
}  // namespace host
