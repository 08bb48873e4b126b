#include <gtest/gtest.h>

#include <algorithm>

#include "platform/service/service.h"
#include "tests/platform/service/house.h"

namespace service {
namespace {

using device::Status;

TEST(Service, TapGetsCopiesInOrderFromThenOn) {
  House house({Keys});
  const ClientId client = house.service->addClient();
  house.inject("G0Out1", {0x90, 1, 1});
  EXPECT_EQ(house.tap(client, "G0Out1"), Status::Ok);
  EXPECT_FALSE(house.service->hasEvents(client));
  house.inject("G0Out1", {0x90, 2, 1});
  house.inject("G0Out2", {0x90, 3, 1});
  house.inject("G0Out1", {0xF0, 4, 0xF7});
  EXPECT_TRUE(house.service->hasEvents(client));
  EXPECT_EQ(house.texts(client), (Texts{"1 G0Out1: 90 02 01", "1 G0Out1: F0 04 F7"}));
  EXPECT_FALSE(house.service->hasEvents(client));
}

TEST(Service, TapIsRefusedWithoutClientOrPort) {
  House house;
  const ClientId client = house.service->addClient();
  house.news();
  EXPECT_EQ(house.tap(client, "G9Out1"), Status::NotFound);
  EXPECT_EQ(house.tap(client, ""), Status::NotFound);
  EXPECT_EQ(house.tap(Nobody, "G0Out1"), Status::NoSession);
  house.inject("G0Out1", {0xF8});
  EXPECT_FALSE(house.service->hasEvents(client));
  EXPECT_EQ(house.news(), Told());
}

TEST(Service, TapsOfAClientAreLimited) {
  House house({}, {}, nullptr, evenTopology(4, 2), {.taps = 3});
  const ClientId client = house.service->addClient();
  const ClientId other = house.service->addClient();
  EXPECT_EQ(house.tap(client, "G0Out1"), Status::Ok);
  EXPECT_EQ(house.tap(client, "G0Out1", Two), Status::Ok);
  EXPECT_EQ(house.tap(client, "G0In1"), Status::Ok);
  house.news();
  EXPECT_EQ(house.tap(client, "G0Out2"), Status::Refused);
  EXPECT_EQ(house.news(), Told());
  EXPECT_EQ(house.tap(client, "G9Out1"), Status::NotFound);
  EXPECT_EQ(house.tap(client, "G0In1"), Status::Ok) << "there is this tap";
  EXPECT_EQ(house.tap(other, "G0Out2"), Status::Ok) << "each client has its own limit";
  EXPECT_EQ(house.service->counts(client).taps, 3U);
  EXPECT_EQ(house.service->untap(client, Two, "G0Out1", {}), Status::Ok);
  EXPECT_EQ(house.tap(client, "G0Out2"), Status::Ok);
  EXPECT_EQ(house.tap(client, "G1Out2"), Status::Refused);
  house.service->untapAll(client, One, {});
  EXPECT_EQ(house.tap(client, "G1Out2"), Status::Ok);
}

TEST(Service, EventPortsOfAClientAreLimited) {
  House house({}, {}, nullptr, evenTopology(4, 2), {.eventPorts = 2});
  const ClientId client = house.service->addClient();
  EXPECT_EQ(house.tap(client, "G0Out1", One), Status::Ok);
  EXPECT_EQ(house.tap(client, "G0Out1", Two), Status::Ok);
  EXPECT_EQ(house.tap(client, "G0Out1", EventPortId{3}), Status::Refused);
  EXPECT_EQ(house.tap(client, "G0Out2", Two), Status::Ok);
  EXPECT_EQ(house.tap(house.injector, "G0Out1", EventPortId{3}), Status::Ok);
  EXPECT_EQ(house.service->untap(client, One, "G0Out1", {}), Status::Ok);
  EXPECT_EQ(house.tap(client, "G0Out1", EventPortId{3}), Status::Ok);
}

TEST(Service, LimitsHoldWhatConsolesNeed) {
  EXPECT_GT(TableLimits{}.taps, 2U * 2U * 0xFFFFU) << "all ports of two groups with as many ports as possible";
  EXPECT_GE(TableLimits{}.links, 1'000'000U);
}

TEST(Service, SameTapTwiceGetsOneCopy) {
  House house;
  const ClientId client = house.service->addClient();
  EXPECT_EQ(house.service->tap(client, One, "G0Out1", 0, {}), Status::Ok);
  EXPECT_EQ(house.service->tap(client, One, "G0Out1", Holder, {}), Status::Ok);
  house.inject("G0Out1", {0xF8});
  house.inject("G0Out1", {0xFA});
  const auto received = house.take(client);
  EXPECT_EQ(textsOf(received), (Texts{"1 G0Out1: F8", "1 G0Out1: FA"}));
  EXPECT_EQ(received[1].sequence, 2U) << "the first holder, with room for nothing, stays";
  EXPECT_EQ(house.service->untap(client, One, "G0Out1", {}), Status::Ok);
  house.inject("G0Out1", {0xF8});
  EXPECT_FALSE(house.service->hasEvents(client));
}

TEST(Service, TwoEventPortsOnOnePortGetACopyEach) {
  House house;
  const ClientId client = house.service->addClient();
  house.tap(client, "G0Out1", Two);
  house.tap(client, "G0Out1", One);
  house.inject("G0Out1", {0xF8});
  EXPECT_EQ(house.texts(client), (Texts{"2 G0Out1: F8", "1 G0Out1: F8"}));
  house.service->untapAll(client, Two, {});
  house.inject("G0Out1", {0xFA});
  EXPECT_EQ(house.texts(client), Texts{"1 G0Out1: FA"});
}

TEST(Service, UntapEndsOneTap) {
  House house;
  const ClientId client = house.service->addClient();
  house.tap(client, "G0Out1");
  house.tap(client, "G0In1");
  EXPECT_EQ(house.service->untap(client, One, "G0Out1", {}), Status::Ok);
  EXPECT_EQ(house.service->untap(client, One, "G0Out1", {}), Status::Nothing);
  EXPECT_EQ(house.service->untap(client, Two, "G0In1", {}), Status::Nothing);
  EXPECT_EQ(house.service->untap(client, One, "nothing", {}), Status::Nothing);
  EXPECT_EQ(house.service->untap(Nobody, One, "G0In1", {}), Status::NoSession);
  house.inject("G0Out1", {0xF8});
  house.inject("G0In1", {0xFA});
  EXPECT_EQ(house.texts(client), Texts{"1 G0In1: FA"});
}

TEST(Service, WaitingMessagesSurviveTheEndOfTheirTap) {
  House house;
  const ClientId client = house.service->addClient();
  house.tap(client, "G0Out1");
  house.inject("G0Out1", {0xF8});
  house.service->untapAll(client, One, {});
  EXPECT_EQ(house.texts(client), Texts{"1 G0Out1: F8"});
}

TEST(Service, SourceIsInUseFromItsFirstTapOrConnectionToItsLast) {
  House house;
  const ClientId ann = house.service->addClient();
  const ClientId ben = house.service->addClient();
  house.news();
  house.tap(ann, "G0Out1");
  EXPECT_EQ(house.news(), Told{"use G0Out1"});
  house.tap(ann, "G0Out1", Two);
  house.tap(ben, "G0Out1");
  house.service->connect(Keys, {});
  house.service->connect(Keys, {});
  house.tap(ben, "G0In1");
  EXPECT_EQ(house.news(), Told());
  house.service->untap(ann, One, "G0Out1", {});
  house.service->untapAll(ann, Two, {});
  house.service->disconnect(Keys, {});
  house.service->disconnect(Keys, {});
  EXPECT_EQ(house.news(), Told());
  house.service->removeClient(ben, {});
  EXPECT_EQ(house.news(), Told{"unuse G0Out1"});

  house.service->connect(Keys, {});
  EXPECT_EQ(house.news(), Told{"use G0Out1"});
  house.service->disconnect(Keys, {});
  EXPECT_EQ(house.news(), Told{"unuse G0Out1"});
  house.tap(ann, "G0Out1");
  house.tap(ann, "G0Out1", Two);
  house.tap(ann, "G0Out2");
  house.tap(ann, "G1In1");
  house.news();
  house.service->removeClient(ann, {});
  Told freed = house.news();
  std::ranges::sort(freed);
  EXPECT_EQ(freed, (Told{"unuse G0Out1", "unuse G0Out2"}));
}

TEST(Service, MessagesThatASourceEmitsOnItsFirstUseAreSeen) {
  House house({}, {}, [](TestDevice& device) {
    device.onUsed = [](device::DriverEvents& events, device::PortId source, bool used, device::Time now) {
      const Bytes start = {0xFA};
      if (used) events.emitted(source, {0, start}, now);
    };
  });
  const ClientId client = house.service->addClient();
  house.tap(client, "G0Out1");
  EXPECT_EQ(house.texts(client), Texts{"1 G0Out1: FA"});
}

}  // namespace
}  // namespace service
