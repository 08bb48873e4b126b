#include "platform/service/patch_graph.h"

#include <gtest/gtest.h>

#include "tests/platform/service/device.h"

namespace service {
namespace {

using device::Status;

std::vector<device::PortId> neighboursOf(const PatchGraph& graph, device::PortId port) {
  std::vector<device::PortId> ports;
  for (const auto& [order, neighbour] : graph.neighbours(port)) ports.push_back(neighbour.port);
  return ports;
}

TEST(PatchGraph, KeepsTheOrderOfMakingBothWays) {
  const device::Topology topology = evenTopology(2, 3);
  PatchGraph graph(topology, {});
  const std::vector<device::Link> made = {link(out(1, 2), in(0, 0)), link(out(0, 0), in(1, 1)),
                                          link(out(1, 2), in(1, 1)), link(out(0, 0), in(0, 0))};
  for (const device::Link& one : made) EXPECT_EQ(graph.connect(one), Status::Ok);
  EXPECT_EQ(graph.links(), made);
  EXPECT_EQ(graph.size(), 4U);
  EXPECT_EQ(graph.version(), 4U);
  EXPECT_EQ(neighboursOf(graph, out(1, 2)), (std::vector{in(0, 0), in(1, 1)}));
  EXPECT_EQ(neighboursOf(graph, out(0, 0)), (std::vector{in(1, 1), in(0, 0)}));
  EXPECT_EQ(neighboursOf(graph, in(0, 0)), (std::vector{out(1, 2), out(0, 0)}));
  EXPECT_EQ(neighboursOf(graph, in(1, 1)), (std::vector{out(0, 0), out(1, 2)}));
  EXPECT_EQ(neighboursOf(graph, in(1, 2)), std::vector<device::PortId>());
}

TEST(PatchGraph, ConnectedPairStaysOneConnectionInItsPlace) {
  const device::Topology topology = evenTopology(1, 2);
  PatchGraph graph(topology, {});
  const device::Link first = link(out(0, 0), in(0, 0));
  const device::Link second = link(out(0, 0), in(0, 1));
  graph.connect(first);
  graph.connect(second);
  EXPECT_EQ(graph.connect(first), Status::Ok);
  EXPECT_EQ(graph.version(), 2U);
  EXPECT_EQ(graph.links(), (std::vector{first, second}));
  EXPECT_EQ(graph.disconnect(first), Status::Ok);
  EXPECT_EQ(graph.links(), std::vector{second});
  EXPECT_EQ(graph.connect(first), Status::Ok);
  EXPECT_EQ(graph.links(), (std::vector{second, first}));
  EXPECT_EQ(graph.version(), 4U);
}

TEST(PatchGraph, UnknownPortsAndConnectionsAreNotFound) {
  const device::Topology topology = evenTopology(2, 2);
  PatchGraph graph(topology, {link(out(0, 0), in(1, 0))});
  EXPECT_EQ(graph.connect(link(out(0, 2), in(0, 0))), Status::NotFound);
  EXPECT_EQ(graph.connect(link(out(0, 0), in(0, 2))), Status::NotFound);
  EXPECT_EQ(graph.connect(link(out(2, 0), in(0, 0))), Status::NotFound);
  EXPECT_EQ(graph.connect(link(out(0, 0), in(0xFFFF, 0xFFFF))), Status::NotFound);
  EXPECT_EQ(graph.disconnect(link(out(0, 0), in(0, 0))), Status::NotFound);
  EXPECT_EQ(graph.disconnect(link(out(1, 0), in(0, 0))), Status::NotFound);
  EXPECT_EQ(graph.disconnect(link(out(9, 9), in(9, 9))), Status::NotFound);
  EXPECT_EQ(graph.version(), 0U);
  EXPECT_EQ(graph.size(), 1U);
}

TEST(PatchGraph, InitialConnectionsAreVersionZero) {
  const device::Topology topology = evenTopology(1, 2);
  const device::Link good = link(out(0, 1), in(0, 0));
  PatchGraph graph(topology, {good, link(out(0, 5), in(0, 0)), good});
  EXPECT_EQ(graph.links(), std::vector{good});
  EXPECT_EQ(graph.version(), 0U);
  EXPECT_EQ(graph.disconnect(good), Status::Ok);
  EXPECT_EQ(graph.version(), 1U);
  EXPECT_TRUE(graph.neighbours(out(0, 1)).empty());
  EXPECT_TRUE(graph.neighbours(in(0, 0)).empty());
}

// Cost that grew with the number of connections, or with those of one port, would not end within the test's limit.
TEST(PatchGraph, InitialConnectionsComeFirstHoweverLateTheyAreEntered) {
  const device::Topology topology = evenTopology(3, 2);
  PatchGraph graph(topology);
  const device::Link early = link(out(0, 0), in(1, 0));
  const device::Link late = link(out(0, 0), in(2, 0));
  EXPECT_EQ(graph.connect(early, PatchGraph::Carrier::Device), device::Status::Ok);
  graph.begin({link(out(2, 0), in(0, 1)), link(out(0, 5), in(0, 0)), link(out(0, 0), in(0, 0))});
  EXPECT_EQ(graph.version(), 1U);
  EXPECT_EQ(graph.connect(late), device::Status::Ok);
  EXPECT_EQ(graph.links(), (std::vector{link(out(2, 0), in(0, 1)), link(out(0, 0), in(0, 0)), early, late}));
  EXPECT_EQ(neighboursOf(graph, out(0, 0)), (std::vector{in(0, 0), in(1, 0), in(2, 0)}));
  EXPECT_EQ(graph.disconnect(link(out(0, 0), in(0, 0))), device::Status::Ok);
  EXPECT_EQ(neighboursOf(graph, out(0, 0)), (std::vector{in(1, 0), in(2, 0)}));
}

TEST(PatchGraph, HundredThousandConnectionsOfOnePortStayFast) {
  constexpr std::uint16_t PortsPerGroup = 50'000;
  const device::Topology topology = evenTopology(2, PortsPerGroup);
  PatchGraph graph(topology, {});
  const auto sink = [](std::uint32_t i) {
    return in(static_cast<std::uint16_t>(i / PortsPerGroup), static_cast<std::uint16_t>(i % PortsPerGroup));
  };
  for (std::uint32_t i = 0; i < 100'000; ++i) ASSERT_EQ(graph.connect(link(out(0, 0), sink(i))), Status::Ok);
  for (std::uint32_t i = 0; i < 100'000; ++i) {
    const device::Link middle = link(out(0, 0), sink((i * 7919 + 50'000) % 100'000));
    ASSERT_EQ(graph.disconnect(middle), Status::Ok);
    ASSERT_EQ(graph.connect(middle), Status::Ok);
  }
  EXPECT_EQ(graph.size(), 100'000U);
  EXPECT_EQ(graph.neighbours(out(0, 0)).size(), 100'000U);
  EXPECT_EQ(graph.version(), 300'000U);
  for (std::uint32_t i = 0; i < 100'000; ++i) ASSERT_EQ(graph.disconnect(link(out(0, 0), sink(i))), Status::Ok);
  EXPECT_TRUE(graph.links().empty());
}

TEST(PatchGraph, ConnectionsOfPortsThatHaveGoneAreSevered) {
  device::Topology topology = evenTopology(2, 2);
  const device::Link across = link(out(0, 0), in(1, 0));
  const device::Link back = link(out(1, 1), in(0, 1));
  const device::Link within = link(out(0, 0), in(0, 0));
  PatchGraph graph(topology, {across, back, within});
  graph.severMissing();
  EXPECT_FALSE(graph.hasSevered());
  topology = evenTopology(2, 1);
  graph.severMissing();
  EXPECT_EQ(graph.severed(9), std::vector{back});
  EXPECT_TRUE(graph.isSevered(back));
  EXPECT_FALSE(graph.isSevered(across));
  topology = evenTopology(1, 1);
  graph.severMissing();
  EXPECT_EQ(graph.severed(9), (std::vector{across, back}));
  EXPECT_EQ(graph.severed(1).size(), 1U);
  for (const device::Link& link : {across, back}) EXPECT_EQ(graph.disconnect(link), Status::Ok);
  EXPECT_FALSE(graph.hasSevered());
  EXPECT_TRUE(graph.severed(9).empty());
  EXPECT_EQ(graph.links(), std::vector{within});
}

TEST(PatchGraph, SeveredConnectionStaysSeveredWhenItsPortReturns) {
  device::Topology topology = evenTopology(2, 2);
  const device::Link across = link(out(0, 0), in(1, 0));
  PatchGraph graph(topology, {across});
  topology = evenTopology(1, 2);
  graph.severMissing();
  topology = evenTopology(2, 2);
  graph.severMissing();
  EXPECT_TRUE(graph.isSevered(across));
  EXPECT_EQ(graph.severed(9), std::vector{across});
  EXPECT_EQ(graph.disconnect(across), Status::Ok);
  EXPECT_EQ(graph.connect(across), Status::Ok);
  EXPECT_FALSE(graph.isSevered(across));
  EXPECT_FALSE(graph.hasSevered());
}

// Each change of the topology finds the same ports again.
TEST(PatchGraph, SeveredPortIsLookedAtOnce) {
  std::vector<device::Group> groups = evenTopology(2, 2).groups();
  device::Topology topology(groups);
  PatchGraph graph(topology, {link(out(0, 0), in(1, 0)), link(out(0, 0), in(1, 1))});
  groups[0].sources->gone = {true, false};
  topology = device::Topology(groups);
  for (int change = 0; change < 10; ++change) graph.severMissing();
  EXPECT_EQ(graph.severedPorts(), 1U);
  for (const device::Link& link : graph.severed(9)) graph.disconnect(link);
  EXPECT_FALSE(graph.hasSevered());
  // Once it has returned and has gone again, it is looked at again.
  groups[0].sources->gone = {false, false};
  topology = device::Topology(groups);
  graph.connect(link(out(0, 0), in(1, 0)));
  groups[0].sources->gone = {true, false};
  topology = device::Topology(groups);
  graph.severMissing();
  EXPECT_TRUE(graph.hasSevered());
  EXPECT_EQ(graph.severed(9), std::vector{link(out(0, 0), in(1, 0))});
}

}  // namespace
}  // namespace service
