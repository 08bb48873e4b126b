// The service on a device whose ports come and go.
#include <gtest/gtest.h>

#include "platform/service/service.h"
#include "tests/platform/service/foreign_device.h"

namespace service {
namespace {

using device::Status;

constexpr EventPortId One{1};
const Bytes Note{0x90, 0x40, 0x7F};

TEST_F(ForeignDevice, PortThatGoesTakesItsConnectionsAndLeavesItsTaps) {
  tap("G1Out1");
  tap("G1In1");
  service_->connect(Across, {});
  service_->connect(Within, {});
  service_->takeGraphChanges();
  news();
  device::Topology without = evenTopology(2, 1);
  std::vector<device::Group> groups = without.groups();
  groups[1].sources->names = {"G1Out1"};
  groups[1].sources->gone = {true};
  groups[1].sinks->names = {"G1In1"};
  groups[1].sinks->gone = {true};
  act([&](device::DriverEvents&) { device_->change(device::Topology(groups)); });
  EXPECT_EQ(service_->links(), std::vector{Within});
  const auto changes = service_->takeGraphChanges();
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].link, Across);
  EXPECT_EQ(changes[0].version, service_->graphVersion());

  EXPECT_EQ(tap("G1Out1"), Status::NotFound) << "who comes now finds no such port";
  EXPECT_EQ(service_->connect(Across, {}), Status::NotFound);
  EXPECT_EQ(service_->send(client_, One, {0, Note}, {}), Status::Ok);
  EXPECT_EQ(texts(), Texts{}) << "nothing passes a port that has gone";

  act([&](device::DriverEvents&) { device_->change(without); });
  act([](device::DriverEvents& events) {
    events.linked(Across, {});
    events.emitted(out(1, 0), {0, Note}, {});
    events.emitted(out(0, 0), {0, Note}, {});
  });
  EXPECT_EQ(texts(), (Texts{"1 G1Out1: 90 40 7F", "1 G1In1: 90 40 7F"})) << "taps are there again";
}

TEST_F(ForeignDevice, SendingToAPortThatHasGoneIsReportedOnceEachTime) {
  const device::Topology with = evenTopology(2, 1);
  std::vector<device::Group> groups = with.groups();
  groups[1].sinks->names = {"G1In1"};
  groups[1].sinks->gone = {true};
  const device::Topology without(groups);
  tap("G1In1");
  tap("G0In1");
  for (int turn = 0; turn < 2; ++turn) {
    act([&](device::DriverEvents&) { device_->change(without); });
    EXPECT_TRUE(service_->takeNotes().empty()) << "nobody misses anything yet";
    service_->send(client_, One, {0, Note}, {});
    service_->send(client_, One, {0, Note}, {});
    const auto notes = service_->takeNotes();
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0].line, "port \"G1In1\" does not exist: messages to it are lost");
    EXPECT_TRUE(notes[0].isWarning);
    act([&](device::DriverEvents&) { device_->change(with); });
    service_->send(client_, One, {0, Note}, {});
    EXPECT_TRUE(service_->takeNotes().empty());
  }
}

TEST_F(ForeignDevice, TapOfAPortThatHasGoneCanBeEnded) {
  tap("G1Out1");
  std::vector<device::Group> groups = evenTopology(2, 1).groups();
  groups[1].sources->names = {"G1Out1"};
  groups[1].sources->gone = {true};
  act([&](device::DriverEvents&) { device_->change(device::Topology(groups)); });
  news();
  EXPECT_EQ(service_->untap(client_, One, "G1Out1", {}), Status::Ok);
  EXPECT_EQ(news(), Told{"unuse G1Out1"});
}

// A group that has been away for long is another group, with the names that it had.
TEST_F(ForeignDevice, TapsOfAForgottenPortFollowItsName) {
  tap("G1Out1");
  tap("G1In1");
  service_->connect(Across, {});
  news();
  std::vector<device::Group> groups = evenTopology(2, 1).groups();
  const device::Group back{9, "G1", groups[1].sources, groups[1].sinks};
  groups.pop_back();
  act([&](device::DriverEvents&) { device_->change(device::Topology(groups)); });
  EXPECT_TRUE(service_->links().empty());
  EXPECT_EQ(service_->send(client_, One, {0, Note}, {}), Status::Ok);
  const auto notes = service_->takeNotes();
  ASSERT_EQ(notes.size(), 2U);
  EXPECT_EQ(notes[0].line, "port \"G1Out1\" does not exist: messages to it are lost");
  EXPECT_EQ(notes[1].line, "port \"G1In1\" does not exist: messages to it are lost");
  news();
  groups.push_back(back);
  act([&](device::DriverEvents&) { device_->change(device::Topology(groups)); });
  EXPECT_EQ(news(), (Told{"unuse Group1Out1", "use G1Out1"}))
      << "the one that was forgotten, and the one that is there";
  act([](device::DriverEvents& events) { events.emitted(out(9, 0), {0, Note}, {}); });
  EXPECT_EQ(texts(), Texts{"1 G1Out1: 90 40 7F"});
  act([](device::DriverEvents& events) { events.linked(link(out(0, 0), in(9, 0)), {}); });
  EXPECT_EQ(news(), Told{"use G0Out1"}) << "of a sink that is tapped";
  EXPECT_EQ(service_->send(client_, One, {0, Note}, {}), Status::Ok);
  EXPECT_EQ(texts(), (Texts{"1 G1Out1: 90 40 7F", "1 G1In1: 90 40 7F"})) << "in the order of tapping";
  EXPECT_EQ(news(), Told{"deliver G1In1 90 40 7F"});
  EXPECT_EQ(service_->untap(client_, One, "G1Out1", {}), Status::Ok);
  EXPECT_EQ(news(), Told{"unuse G1Out1"});
}

TEST_F(ForeignDevice, TapOfAForgottenPortCanBeEnded) {
  tap("G1Out1");
  act([&](device::DriverEvents&) { device_->change(evenTopology(1, 1)); });
  news();
  EXPECT_EQ(service_->untap(client_, One, "G1Out1", {}), Status::Ok);
  EXPECT_EQ(service_->untap(client_, One, "G1Out1", {}), Status::Nothing);
  EXPECT_EQ(news(), Told{"unuse Group1Out1"});
  EXPECT_EQ(service_->counts(client_).taps, 0U);
}

TEST_F(ForeignDevice, WaitingMessagesOfAForgottenPortKeepItsName) {
  tap("G1Out1");
  act([](device::DriverEvents& events) { events.emitted(out(1, 0), {0, Note}, {}); });
  act([&](device::DriverEvents&) { device_->change(evenTopology(1, 1)); });
  EXPECT_EQ(texts(), Texts{"1 G1Out1: 90 40 7F"});
}

TEST_F(ForeignDevice, ChangesOfTheTopologyAreCounted) {
  const std::uint64_t before = service_->topologyVersion();
  act([](device::DriverEvents& events) { events.noted("nothing"); });
  EXPECT_EQ(service_->topologyVersion(), before);
  act([&](device::DriverEvents&) { device_->change(evenTopology(3, 1)); });
  EXPECT_NE(service_->topologyVersion(), before);
}

}  // namespace
}  // namespace service
