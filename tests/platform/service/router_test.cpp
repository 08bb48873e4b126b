#include "platform/service/router.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/service/device.h"

namespace service {
namespace {

using Trace = std::vector<std::string>;

// A router over a device of groups and ports; what passes is written down.
struct Road {
  explicit Road(std::vector<device::Link> links, std::uint16_t groups = 6, std::uint16_t ports = 2)
      : topology(evenTopology(groups, ports)),
        graph(topology, links),
        router(
            graph,
            [this](device::PortId port, const device::Message& message, device::Time now) {
              trace.push_back(topology.name(port) + hexOf(message.bytes));
              groupsSeen.push_back(message.group);
              times.push_back(now);
            },
            [this](device::PortId sink, const device::Message& message, device::Time now) {
              trace.push_back("deliver " + topology.name(sink) + hexOf(message.bytes));
              if (device) device(sink, message, now);
            }) {}

  // The device sends what enters a sink out of the source of the same number.
  void beThru() {
    device = [this](device::PortId sink, const device::Message& message, device::Time now) {
      router.emitted(out(sink.group, sink.index), message, now);
    };
  }

  void emit(device::PortId source, const Bytes& bytes, device::Time now = {}) {
    router.emitted(source, {0, bytes}, now);
  }

  device::Topology topology;
  PatchGraph graph;
  Router::Look device;
  Trace trace;
  std::vector<std::uint16_t> groupsSeen;
  std::vector<device::Time> times;
  Router router;
};

TEST(Router, SourceGoesToItsSinksInTheOrderOfMaking) {
  Road road(
      {link(out(0, 0), in(3, 0)), link(out(0, 1), in(2, 0)), link(out(0, 0), in(1, 1)), link(out(0, 0), in(1, 0))});
  road.router.emitted(out(0, 0), {9, Bytes{0xF8}}, device::Time(5));
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G3In1 F8", "deliver G3In1 F8", "G1In2 F8", "deliver G1In2 F8", "G1In1 F8",
                               "deliver G1In1 F8"}));
  EXPECT_EQ(road.groupsSeen, (std::vector<std::uint16_t>{9, 9, 9, 9}));
  EXPECT_EQ(road.times, std::vector<device::Time>(4, device::Time(5)));
}

TEST(Router, UnconnectedSourceIsPassedAlone) {
  Road road({link(out(0, 0), in(3, 0))});
  road.emit(out(0, 1), {0xF8});
  EXPECT_EQ(road.trace, Trace{"G0Out2 F8"});
}

TEST(Router, SinkIsPassedWithoutItsSources) {
  Road road({link(out(0, 0), in(3, 0))});
  const device::PortId ports[] = {in(3, 0)};
  road.router.pass(ports, {0, Bytes{0xF8}}, {});
  EXPECT_EQ(road.trace, (Trace{"G3In1 F8", "deliver G3In1 F8"}));
}

TEST(Router, AnswerGoesOnBeforeTheSinksThatWait) {
  Road road({link(out(0, 0), in(1, 0)), link(out(0, 0), in(2, 0)), link(out(1, 0), in(3, 0))});
  road.beThru();
  road.emit(out(0, 0), {0xF8});
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G1In1 F8", "deliver G1In1 F8", "G1Out1 F8", "G3In1 F8", "deliver G3In1 F8",
                               "G3Out1 F8", "G2In1 F8", "deliver G2In1 F8", "G2Out1 F8"}));
}

TEST(Router, AnswersOfOneDeviceGoOnInTheirOrder) {
  Road road({link(out(0, 0), in(1, 0)), link(out(2, 0), in(4, 0))});
  road.device = [&](device::PortId sink, const device::Message&, device::Time) {
    if (sink.group != 1) return;
    road.emit(out(2, 0), {0x90, 1, 1}, device::Time(7));
    road.emit(out(3, 0), {0x90, 2, 1});
  };
  road.emit(out(0, 0), {0xF8}, device::Time(3));
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G1In1 F8", "deliver G1In1 F8", "G2Out1 90 01 01", "G4In1 90 01 01",
                               "deliver G4In1 90 01 01", "G3Out1 90 02 01"}));
  EXPECT_EQ(road.times[2], device::Time(7));
}

// The device's own buffer is gone when its answer travels.
TEST(Router, AnswerWithOtherBytesOutlivesTheDevicesCall) {
  Road road({link(out(0, 0), in(1, 0)), link(out(1, 0), in(2, 0)), link(out(1, 0), in(3, 0))});
  road.device = [&](device::PortId sink, const device::Message& message, device::Time) {
    if (sink.group != 1) return;
    Bytes buffer(message.bytes.begin(), message.bytes.end());
    buffer.back() = 0x77;
    road.router.emitted(out(1, 0), {5, buffer}, {});
    buffer.assign(buffer.size(), 0);
  };
  road.emit(out(0, 0), {0x90, 1, 1});
  EXPECT_EQ(road.trace,
            (Trace{"G0Out1 90 01 01", "G1In1 90 01 01", "deliver G1In1 90 01 01", "G1Out1 90 01 77", "G2In1 90 01 77",
                   "deliver G2In1 90 01 77", "G3In1 90 01 77", "deliver G3In1 90 01 77"}));
  EXPECT_EQ(road.groupsSeen, (std::vector<std::uint16_t>{0, 0, 5, 5, 5}));
}

TEST(Router, AnswerMayChangeTheGroupAlone) {
  Road road({link(out(0, 0), in(1, 0))});
  road.device = [&](device::PortId, const device::Message& message, device::Time) {
    road.router.emitted(out(1, 0), {5, message.bytes}, {});
  };
  road.emit(out(0, 0), {0x90, 1, 1});
  EXPECT_EQ(road.trace.back(), "G1Out1 90 01 01");
  EXPECT_EQ(road.groupsSeen, (std::vector<std::uint16_t>{0, 0, 5}));
}

TEST(Router, LoopEndsWhereItBegan) {
  Road road({link(out(0, 0), in(0, 0))});
  road.beThru();
  road.emit(out(0, 0), {0xF8});
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G0In1 F8", "deliver G0In1 F8"}));
  road.trace.clear();
  road.emit(out(0, 0), {0xFA});
  EXPECT_EQ(road.trace, (Trace{"G0Out1 FA", "G0In1 FA", "deliver G0In1 FA"})) << "the next trip is a new one";
}

TEST(Router, LoopThroughTwoDevicesEnds) {
  Road road({link(out(0, 0), in(1, 0)), link(out(1, 0), in(0, 0))});
  road.beThru();
  road.emit(out(1, 0), {0xF8});
  EXPECT_EQ(road.trace,
            (Trace{"G1Out1 F8", "G0In1 F8", "deliver G0In1 F8", "G0Out1 F8", "G1In1 F8", "deliver G1In1 F8"}));
}

TEST(Router, PathsThatMeetArePassedOnce) {
  Road road(
      {link(out(0, 0), in(1, 0)), link(out(0, 0), in(2, 0)), link(out(1, 0), in(3, 0)), link(out(2, 0), in(3, 0))});
  road.beThru();
  road.emit(out(0, 0), {0xF8});
  EXPECT_EQ(std::ranges::count(road.trace, "G3In1 F8"), 1);
  EXPECT_EQ(std::ranges::count(road.trace, "deliver G3In1 F8"), 1);
}

TEST(Router, SeveralPortsAreOneTripInTheirOrder) {
  Road road({link(out(0, 0), in(1, 0)), link(out(0, 0), in(2, 0))});
  const device::PortId ports[] = {in(2, 0), out(0, 0), in(1, 0)};
  road.router.pass(ports, {0, Bytes{0xF8}}, {});
  EXPECT_EQ(road.trace, (Trace{"G2In1 F8", "deliver G2In1 F8", "G0Out1 F8", "G1In1 F8", "deliver G1In1 F8"}));
}

TEST(Router, NoPortsIsNoTrip) {
  Road road({});
  road.router.pass({}, {0, Bytes{0xF8}}, {});
  EXPECT_EQ(road.trace, Trace());
}

// A call within a call for each device on the road would exhaust the stack.
TEST(Router, LongPathNeedsNoDeepStack) {
  constexpr std::uint16_t Devices = 60'000;
  std::vector<device::Link> links;
  for (std::uint16_t i = 0; i + 1 < Devices; ++i) {
    links.push_back(link(out(0, i), in(0, static_cast<std::uint16_t>(i + 1))));
  }
  Road road(links, 1, Devices);
  road.beThru();
  road.emit(out(0, 0), {0xF8});
  EXPECT_EQ(road.trace.size(), 3U * (Devices - 1) + 1);
  EXPECT_EQ(road.trace.back().substr(0, 11), "G0Out60000 ");
}

// A trip that cost something for each port of the device would not end within the test's limit.
TEST(Router, ShortPathsCostLittleAfterALongOne) {
  constexpr std::uint16_t Sinks = 60'000;
  std::vector<device::Link> links;
  for (std::uint16_t i = 0; i < Sinks; ++i) links.push_back(link(out(0, 0), in(0, i)));
  const device::Topology topology = evenTopology(1, Sinks);
  const PatchGraph graph(topology, links);
  std::uint64_t passed = 0;
  Router router(
      graph, [&](device::PortId, const device::Message&, device::Time) { ++passed; },
      [](device::PortId, const device::Message&, device::Time) {});
  const Bytes clock = {0xF8};
  router.emitted(out(0, 0), {0, clock}, {});
  EXPECT_EQ(passed, Sinks + 1U);
  for (int i = 0; i < 1'000'000; ++i) router.emitted(out(0, 1), {0, clock}, {});
  EXPECT_EQ(passed, Sinks + 1'000'001U);
}

TEST(Router, DeviceCarriesMessagesAlongItsOwnConnections) {
  Road road({link(out(0, 0), in(1, 0))});
  road.graph.connect(link(out(0, 0), in(2, 0)), PatchGraph::Carrier::Device);
  road.emit(out(0, 0), {0xF8});
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G2In1 F8", "G1In1 F8", "deliver G1In1 F8"}));
}

// The sink has the message already: the road through the thru must not hand it over again.
TEST(Router, MessagesThatTheDeviceCarriesAreNotDeliveredAgainOnAnotherPath) {
  Road road({link(out(0, 0), in(1, 0)), link(out(1, 0), in(2, 0))});
  road.graph.connect(link(out(0, 0), in(2, 0)), PatchGraph::Carrier::Device);
  road.graph.connect(link(out(0, 0), in(3, 0)), PatchGraph::Carrier::Device);
  road.beThru();
  road.emit(out(0, 0), {0xF8});
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G2In1 F8", "G3In1 F8", "G1In1 F8", "deliver G1In1 F8", "G1Out1 F8"}));
}

TEST(Router, MessagesThatTheDeviceDidNotEmitPassItsConnectionsToo) {
  Road road({});
  road.graph.connect(link(out(0, 0), in(2, 0)), PatchGraph::Carrier::Device);
  const device::PortId source = out(0, 0);
  road.router.pass({&source, 1}, {0, Bytes{0xF8}}, {});
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G2In1 F8", "deliver G2In1 F8"}));
}

TEST(Router, DeviceAnswersAlongItsOwnConnections) {
  Road road({link(out(0, 0), in(1, 0))});
  road.graph.connect(link(out(1, 0), in(2, 0)), PatchGraph::Carrier::Device);
  road.beThru();
  road.emit(out(0, 0), {0xF8});
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G1In1 F8", "deliver G1In1 F8", "G1Out1 F8", "G2In1 F8"}));
}

}  // namespace
}  // namespace service
