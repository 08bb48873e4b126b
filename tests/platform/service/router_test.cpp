#include "platform/service/router.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>

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
            [this](device::PortId port, const device::Message& message, device::Time now, Router::Copying& to) {
              if (!copies(port, to)) return false;
              trace.push_back(topology.name(port) + hexOf(message.bytes));
              groupsSeen.push_back(message.group);
              times.push_back(now);
              return true;
            },
            [this](device::PortId sink, const device::Message& message, device::Time now) {
              trace.push_back("deliver " + topology.name(sink) + hexOf(message.bytes));
              if (device) device(sink, message, now);
            },
            [this](device::PortId port) { return std::ranges::find(closed, port) == closed.end(); }) {}

  // Each port has as many taps as tapsOf says.
  bool copies(device::PortId port, Router::Copying& to) {
    const std::uint64_t more = std::min<std::uint64_t>(tapsOf[port] - to.from, to.left);
    if (more > 0) pieces.push_back(more);
    to.from += more;
    to.left -= static_cast<std::size_t>(more);
    return to.from == tapsOf[port];
  }

  // Gives the router small allowances until all trips have ended. Returns how many it needed.
  int finish(std::size_t effort) {
    int allowances = 0;
    for (; router.isOnTheWay(); ++allowances) {
      router.allow(effort);
      router.goOn();
    }
    return allowances;
  }

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
  std::map<device::PortId, std::uint64_t> tapsOf;
  std::vector<std::uint64_t> pieces;   // copies made at once
  std::vector<device::PortId> closed;  // where nothing may enter
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
      graph, [&](device::PortId, const device::Message&, device::Time, Router::Copying&) { return ++passed > 0; },
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

// A small city: sources with many sinks, a thru, and taps.
std::unique_ptr<Road> city() {
  std::vector<device::Link> links;
  for (std::uint16_t sink = 0; sink < 200; ++sink) links.push_back(link(out(0, 0), in(1, sink)));
  for (std::uint16_t sink = 0; sink < 100; ++sink) links.push_back(link(out(1, 7), in(2, sink)));
  auto road = std::make_unique<Road>(std::move(links), 6, 300);
  for (std::uint16_t sink = 0; sink < 100; ++sink) {
    road->graph.connect(link(out(0, 0), in(3, sink)), PatchGraph::Carrier::Device);
  }
  road->tapsOf = {{out(0, 0), 50}, {in(1, 7), 20}, {in(2, 99), 1}};
  road->beThru();
  return road;
}

TEST(Router, TripInPiecesPassesTheSameInTheSameOrder) {
  const auto whole = city();
  whole->emit(out(0, 0), {0xF8});
  EXPECT_FALSE(whole->router.isOnTheWay());
  ASSERT_GT(whole->trace.size(), 600U);
  for (const std::size_t effort : {1U, 2U, 7U, 64U, 500U}) {
    const auto road = city();
    road->router.allow(effort);
    {
      const Bytes gone{0xF8};
      road->emit(out(0, 0), gone, device::Time(3));
    }
    EXPECT_TRUE(road->router.isOnTheWay());
    const int allowances = road->finish(effort);
    EXPECT_GE(static_cast<std::size_t>(allowances), 600 / effort - 1) << effort;
    EXPECT_EQ(road->trace, whole->trace) << effort;
    EXPECT_LE(std::ranges::max(road->pieces), effort);
    EXPECT_EQ(std::ranges::count(road->times, device::Time(3)), static_cast<std::ptrdiff_t>(road->times.size()));
  }
}

TEST(Router, TripsFollowOneAnotherWhateverIsEmittedMeanwhile) {
  Road road({link(out(0, 0), in(1, 0))});
  road.tapsOf[in(1, 0)] = 10;
  road.router.allow(3);
  road.emit(out(0, 0), {0xF8});
  {
    const Bytes gone{0x90, 1, 2};
    road.emit(out(0, 0), gone);
  }
  road.router.afterwards([&](std::size_t& /*left*/) {
    road.trace.push_back("afterwards");
    return true;
  });
  road.emit(out(0, 0), {0xFC});
  EXPECT_EQ(road.router.waiting(), 3U);
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8"}));
  EXPECT_GT(road.finish(5), 5);
  EXPECT_EQ(road.trace, (Trace{"G0Out1 F8", "G1In1 F8", "deliver G1In1 F8", "G0Out1 90 01 02", "G1In1 90 01 02",
                               "deliver G1In1 90 01 02", "afterwards", "G0Out1 FC", "G1In1 FC", "deliver G1In1 FC"}));
}

TEST(Router, MessageEntersEachPortInTurnAndPassesThoseThatAreClosed) {
  std::vector<device::PortId> ports;
  for (std::uint16_t port = 0; port < 100; ++port) ports.push_back(in(1, port));
  for (const std::size_t effort : {1U, 30U, 1000U}) {
    Road road({}, 2, 100);
    road.closed = {in(1, 50)};
    road.router.allow(effort);
    {
      const std::vector<device::PortId> gone = ports;
      const Bytes bytes{0xF8};
      road.router.pass(gone, {0, bytes}, {});
    }
    road.finish(effort);
    EXPECT_EQ(road.trace.size(), 2U * 99) << effort;
    EXPECT_EQ(road.trace[98], "G1In50 F8") << effort;
    EXPECT_EQ(road.trace[100], "G1In52 F8") << effort;
  }
}

// A change of the connections on the way harms nothing.
TEST(Router, ConnectionsMayEndWhileATripWaits) {
  Road road({}, 2, 300);
  for (std::uint16_t sink = 0; sink < 300; ++sink) road.graph.connect(link(out(0, 0), in(1, sink)));
  road.router.allow(100);
  road.emit(out(0, 0), {0xF8});
  const std::size_t before = road.trace.size();
  EXPECT_LT(before, 210U);
  for (std::uint16_t sink = 0; sink < 300; ++sink) road.graph.disconnect(link(out(0, 0), in(1, sink)));
  road.finish(100);
  EXPECT_LT(road.trace.size(), before + 2 * 64);
}

}  // namespace
}  // namespace service
