// The service on a device whose connections are another system's.
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "platform/service/service.h"
#include "tests/platform/service/foreign_device.h"

namespace service {
namespace {

using device::Status;

constexpr EventPortId One{1};
const Bytes Note{0x90, 0x40, 0x7F};

TEST_F(ForeignDevice, ConnectionOfTheOtherSystemShowsAtOnce) {
  EXPECT_EQ(service_->connect(Across, {}), Status::Ok);
  EXPECT_EQ(service_->links(), std::vector{Across});
  EXPECT_EQ(service_->takeGraphChanges().size(), 1U);
  EXPECT_EQ(news(), Told{}) << "nobody here looks on";
  EXPECT_EQ(service_->connect(Across, {}), Status::Ok) << "stands already";
  EXPECT_TRUE(service_->takeGraphChanges().empty());
  EXPECT_EQ(service_->disconnect(Across, {}), Status::Ok);
  EXPECT_TRUE(service_->links().empty());
}

TEST(ServiceStart, TheDeviceSaysWhichDescriptorWakesTheService) {
  Told told;
  auto device = std::make_unique<TestDevice>(evenTopology(1, 1), std::vector<device::Link>{}, told);
  device->descriptor = 77;
  const Service service(std::move(device), {}, {});
  EXPECT_EQ(service.descriptor(), 77);
}

TEST(ServiceStart, ConnectionsThatTheServiceCarriesPrecedeThoseOfTheOtherSystem) {
  Told told;
  auto device = std::make_unique<TestDevice>(evenTopology(2, 1), std::vector{Within}, told);
  device->onStart = [](device::DriverEvents& events, device::Time now) { events.linked(Across, now); };
  Service service(std::move(device), {}, {});
  EXPECT_EQ(service.links(), (std::vector{Within, Across}));
  const auto changes = service.takeGraphChanges();
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].version, 1U);
  EXPECT_EQ(changes[0].link, Across);
  EXPECT_EQ(told, (Told{"start", "use G0Out1"}));
}

TEST_F(ForeignDevice, ConnectionsOfOtherClientsShow) {
  act([](device::DriverEvents& events) {
    events.linked(Across, {});
    events.linked(Across, {});
  });
  EXPECT_EQ(service_->links(), std::vector{Across});
  const auto changes = service_->takeGraphChanges();
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_TRUE(changes[0].added);
  EXPECT_EQ(changes[0].version, service_->graphVersion());
  act([](device::DriverEvents& events) {
    events.unlinked(Across, {});
    events.unlinked(Across, {});
  });
  EXPECT_TRUE(service_->links().empty());
  EXPECT_EQ(service_->takeGraphChanges().size(), 1U);
}

TEST_F(ForeignDevice, PortsThatDoNotExistAreNotAskedFor) {
  device_->onPatch = [](device::DriverEvents&, bool, const device::Link&) -> std::optional<Status> {
    ADD_FAILURE();
    return Status::Ok;
  };
  EXPECT_EQ(service_->connect(link(out(0, 1), in(1, 0)), {}), Status::NotFound);
  EXPECT_EQ(service_->disconnect(link(out(0, 0), in(2, 0)), {}), Status::NotFound);
}

TEST_F(ForeignDevice, RefusalOfTheOtherSystemIsTheAnswer) {
  device_->onPatch = [](device::DriverEvents&, bool, const device::Link&) { return Status::Refused; };
  EXPECT_EQ(service_->connect(Across, {}), Status::Refused);
  EXPECT_TRUE(service_->links().empty());
}

TEST_F(ForeignDevice, TapOfASinkFollowsTheConnectionsOfTheSink) {
  service_->connect(Across, {});
  EXPECT_EQ(tap("G1In1"), Status::Ok);
  EXPECT_EQ(news(), Told{"use G0Out1"});
  act([](device::DriverEvents& events) { events.emitted(out(0, 0), {3, Note}, {}); });
  EXPECT_EQ(texts(), Texts{"1 G1In1: 90 40 7F"});
  EXPECT_EQ(news(), Told{}) << "the other system has brought it there";
  service_->disconnect(Across, {});
  EXPECT_EQ(news(), Told{"unuse G0Out1"});
  act([](device::DriverEvents& events) { events.linked(link(out(1, 0), in(1, 0)), {}); });
  EXPECT_EQ(news(), Told{"use G1Out1"}) << "also what is connected later";
  service_->untap(client_, One, "G1In1", {});
  EXPECT_EQ(news(), Told{"unuse G1Out1"});
}

TEST_F(ForeignDevice, TapsOnBothEndsEachSeeAMessageOnce) {
  tap("G0Out1");
  tap("G1In1");
  service_->connect(Across, {});
  EXPECT_EQ(news(), Told{"use G0Out1"});
  act([](device::DriverEvents& events) { events.emitted(out(0, 0), {0, Note}, {}); });
  EXPECT_EQ(texts(), (Texts{"1 G0Out1: 90 40 7F", "1 G1In1: 90 40 7F"}));
}

TEST_F(ForeignDevice, InjectedMessageReachesTheSinksOfTheOtherSystem) {
  service_->connect(Across, {});
  service_->inject(client_, "G0Out1", {0, Note}, {});
  EXPECT_EQ(news(), Told{"deliver G1In1 90 40 7F"});
}

TEST_F(ForeignDevice, CarriedConnectionKeepsItsSourceInUse) {
  service_->connect(Within, {});
  EXPECT_EQ(news(), Told{"use G0Out1"});
  act([](device::DriverEvents& events) { events.emitted(out(0, 0), {0, Note}, {}); });
  EXPECT_EQ(news(), Told{"deliver G0In1 90 40 7F"});
  service_->disconnect(Within, {});
  EXPECT_EQ(news(), Told{"unuse G0Out1"});
}

TEST_F(ForeignDevice, LossIsReportedOnceToEachClientWithATap) {
  const ClientId other = service_->addClient();
  service_->tap(other, One, "G1Out1", 1004, {});
  tap("G0Out1");
  tap("G1In1");
  service_->connect(Across, {});
  act([](device::DriverEvents& events) {
    events.emitted(out(0, 0), {0, Note}, {});
    events.lost(out(0, 0), 7, {});
    events.emitted(out(0, 0), {0, Note}, {});
    events.lost(out(0, 0), 0, {});
  });
  EXPECT_EQ(texts(), (Texts{"1 G0Out1: 90 40 7F", "1 G1In1: 90 40 7F", "lost before 7", "1 G0Out1: 90 40 7F",
                            "1 G1In1: 90 40 7F", "lost before 0"}));
  EXPECT_FALSE(service_->hasEvents(other));
  EXPECT_EQ(service_->counts().lostBefore, 7U);
  EXPECT_EQ(service_->counts().uncountedLosses, 1U);
  EXPECT_EQ(service_->counts().lost, 0U);
}

TEST_F(ForeignDevice, NotesAreKeptUntilTheyAreTaken) {
  act([](device::DriverEvents& events) {
    events.noted("one");
    events.warned("two");
  });
  const auto notes = service_->takeNotes();
  ASSERT_EQ(notes.size(), 2U);
  EXPECT_EQ(notes[0].line, "one");
  EXPECT_FALSE(notes[0].isWarning);
  EXPECT_EQ(notes[1].line, "two");
  EXPECT_TRUE(notes[1].isWarning);
  EXPECT_TRUE(service_->takeNotes().empty());
}

TEST_F(ForeignDevice, ChangeThatBeginsUseAsksToBeCalledAgain) {
  tap("G1In1");
  device_->onAdvance = [](device::DriverEvents& events, device::Time) -> std::optional<device::Time> {
    events.linked(Across, {});
    return std::nullopt;
  };
  EXPECT_EQ(service_->advance(device::Time(9)), device::Time(9));
  EXPECT_EQ(service_->advance(device::Time(10)), std::nullopt);
}

// Those within one system stand again when the service does, or are the other system's.
TEST_F(ForeignDevice, OnlyConnectionsBetweenTwoSystemsAreCarriedByTheService) {
  std::vector<device::Group> groups = evenTopology(3, 1).groups();
  groups[2].system = 1;
  act([&](device::DriverEvents&) { device_->change(device::Topology(groups)); });
  device_->onPatch = nullptr;
  const device::Link between = link(out(0, 0), in(2, 0));
  service_->connect(Within, {});
  service_->connect(between, {});
  act([](device::DriverEvents& events) { events.linked(link(out(1, 0), in(2, 0)), {}); });
  std::vector<device::Link> carried;
  for (const GraphChange& change : service_->takeGraphChanges()) {
    if (change.carried) carried.push_back(change.link);
  }
  EXPECT_EQ(carried, std::vector{between});
  carried.clear();
  for (const CarriedLink& one : service_->connections()) {
    if (one.carried) carried.push_back(one.link);
  }
  EXPECT_EQ(carried, std::vector{between});
  EXPECT_EQ(service_->connections().size(), 3U);
}

}  // namespace
}  // namespace service
