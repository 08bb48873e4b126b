#include "platform/service/service.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/service/house.h"

namespace service {
namespace {

using device::Status;

TEST(Service, StartsTheDeviceThenNamesTheSourcesInUse) {
  House house({link(out(2, 1), in(0, 0)), Keys, link(out(2, 1), in(0, 1)), link(out(0, 0), in(0, 0))});
  EXPECT_EQ(house.news(), (Told{"start", "use G2Out2", "use G0Out1"}));
  EXPECT_EQ(house.service->graphVersion(), 0U);
  EXPECT_EQ(house.service->links().size(), 4U);
  EXPECT_TRUE(house.service->takeGraphChanges().empty());
}

TEST(Service, SendPassesAllTappedPortsInTheOrderOfTapping) {
  House house({Keys});
  const ClientId client = house.service->addClient();
  house.tap(client, "G2In1");
  house.tap(client, "G0Out1");
  house.tap(client, "G1In2", Two);
  house.news();
  EXPECT_EQ(house.send(client, {0x90, 1, 1}), Status::Ok);
  EXPECT_EQ(house.news(), (Told{"deliver G2In1 90 01 01", "deliver G1In1 90 01 01"}));
  EXPECT_EQ(house.texts(client), (Texts{"1 G2In1: 90 01 01", "1 G0Out1: 90 01 01"}));
}

TEST(Service, SenderThatTapsBothEndsOfAConnectionSeesAMessageOnceInEach) {
  for (const bool sourceFirst : {true, false}) {
    House house({Keys});
    const ClientId client = house.service->addClient();
    const ClientId other = house.service->addClient();
    house.tap(client, sourceFirst ? "G0Out1" : "G1In1");
    house.tap(client, sourceFirst ? "G1In1" : "G0Out1");
    house.tap(other, "G1In1");
    house.tap(other, "G0Out1");
    house.news();
    house.send(client, {0xF8});
    auto seen = house.texts(client);
    std::ranges::sort(seen);
    EXPECT_EQ(seen, (Texts{"1 G0Out1: F8", "1 G1In1: F8"}));
    EXPECT_EQ(house.texts(other).size(), 2U);
    EXPECT_EQ(house.news(), Told{"deliver G1In1 F8"});
  }
}

TEST(Service, SendWithoutTapsReachesNothing) {
  House house({Keys});
  const ClientId client = house.service->addClient();
  const ClientId other = house.service->addClient();
  house.tap(client, "G0Out1", Two);
  house.tap(other, "G0Out1", One);
  house.news();
  EXPECT_EQ(house.send(client, {0xF8}, One), Status::Ok);
  EXPECT_EQ(house.news(), Told());
  EXPECT_FALSE(house.service->hasEvents(client));
  EXPECT_FALSE(house.service->hasEvents(other));
}

TEST(Service, SendAndInjectRefuseEmptyMessagesAndUnknownClientsAndPorts) {
  House house;
  const ClientId client = house.service->addClient();
  house.tap(client, "G0Out1");
  EXPECT_EQ(house.send(client, {}), Status::BadRequest);
  EXPECT_EQ(house.send(Nobody, {0xF8}), Status::NoSession);
  EXPECT_EQ(house.inject("G0Out1", {}), Status::BadRequest);
  EXPECT_EQ(house.inject("G9Out1", {0xF8}), Status::NotFound);
  EXPECT_EQ(house.service->inject(Nobody, "G0Out1", {0, Bytes{0xF8}}, {}), Status::NoSession);
  EXPECT_EQ(house.service->counts().in, 0U);
  EXPECT_FALSE(house.service->hasEvents(client));
}

std::string textOf(const ClientCounts& counts) {
  return std::to_string(counts.taps) + " taps, in " + std::to_string(counts.in) + ", out " +
         std::to_string(counts.out) + ", lost " + std::to_string(counts.lost);
}

TEST(Service, CountsTapsAndMessagesOfEachClient) {
  House house({Keys}, QueueLimits{.queueBytes = 64});
  const ClientId watcher = house.service->addClient();
  house.tap(watcher, "G0Out1");
  house.tap(watcher, "G1In1", EventPortId{2});
  const ClientId sender = house.service->addClient();
  house.tap(sender, "G2Out1");
  house.send(sender, {0x90, 1, 1});
  EXPECT_EQ(textOf(house.service->counts(sender)), "1 taps, in 1, out 1, lost 0");
  EXPECT_EQ(textOf(house.service->counts(watcher)), "2 taps, in 0, out 0, lost 0");
  EXPECT_EQ(house.service->counts(watcher).queueBytes, 0U);

  house.inject("G0Out1", {0x90, 1, 1});
  EXPECT_EQ(textOf(house.service->counts(house.injector)), "0 taps, in 1, out 0, lost 0");
  EXPECT_EQ(textOf(house.service->counts(watcher)), "2 taps, in 0, out 1, lost 1") << "the second tap found no room";
  EXPECT_GT(house.service->counts(watcher).queueBytes, 0U);
  EXPECT_EQ(textOf(house.service->counts(Nobody)), "0 taps, in 0, out 0, lost 0");

  house.service->removeClient(watcher, {});
  const Counts all = house.service->counts();
  EXPECT_EQ(all.in, 2U);
  EXPECT_EQ(all.out, 2U) << "that of the client that has left too";
  EXPECT_EQ(all.lost, 1U);
}

TEST(Service, CountsMessagesThatTheDeviceEmits) {
  House house({Keys}, {}, [](TestDevice& device) { device.beThru(); });
  house.inject("G1In1", {0xF8});
  EXPECT_EQ(house.service->counts().in, 2U) << "what was injected, and the answer of the thru";
}

TEST(Service, TapsAlongAPathGetAMessageInTheOrderOfThePath) {
  House house({Keys, link(out(0, 0), in(2, 0)), link(out(1, 0), in(3, 0))}, {},
              [](TestDevice& device) { device.beThru(); });
  const ClientId client = house.service->addClient();
  for (const char* name : {"G2In1", "G3In1", "G1Out1", "G1In1", "G0Out1", "G3Out1"}) house.tap(client, name);
  house.inject("G0Out1", {0xF8});
  EXPECT_EQ(house.texts(client),
            (Texts{"1 G0Out1: F8", "1 G1In1: F8", "1 G1Out1: F8", "1 G3In1: F8", "1 G3Out1: F8", "1 G2In1: F8"}));
}

TEST(Service, LoopOfAThruEnds) {
  House house({link(out(0, 0), in(0, 0)), link(out(1, 0), in(1, 0))}, {}, [](TestDevice& device) { device.beThru(); });
  const ClientId client = house.service->addClient();
  house.tap(client, "G0Out1");
  house.tap(client, "G0In1");
  house.send(client, {0xF8});
  EXPECT_EQ(house.texts(client), (Texts{"1 G0Out1: F8", "1 G0In1: F8"}));
}

TEST(Service, ConnectionsChangeForEverybodyAndAreReported) {
  House house;
  const ClientId client = house.service->addClient();
  house.tap(client, "G1In1");
  EXPECT_EQ(house.service->connect(Keys, {}), Status::Ok);
  EXPECT_EQ(house.service->connect(Keys, {}), Status::Ok);
  EXPECT_EQ(house.service->graphVersion(), 1U);
  house.inject("G0Out1", {0xF8});
  EXPECT_EQ(house.service->disconnect(Keys, {}), Status::Ok);
  EXPECT_EQ(house.service->disconnect(Keys, {}), Status::NotFound);
  EXPECT_EQ(house.service->connect(link(out(0, 9), in(1, 0)), {}), Status::NotFound);
  house.inject("G0Out1", {0xFA});
  EXPECT_EQ(house.texts(client), Texts{"1 G1In1: F8"});

  const auto changes = house.service->takeGraphChanges();
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[0].version, 1U);
  EXPECT_TRUE(changes[0].added);
  EXPECT_EQ(changes[0].link, Keys);
  EXPECT_EQ(changes[1].version, 2U);
  EXPECT_FALSE(changes[1].added);
  EXPECT_EQ(changes[1].link, Keys);
  EXPECT_TRUE(house.service->takeGraphChanges().empty());
  EXPECT_TRUE(house.service->links().empty());
}

// Connections of a small device, listed in pieces of one and of two.
TEST(Service, ListInPiecesHasEachConnectionOnceWhateverChangesInBetween) {
  const device::Link second = link(out(0, 0), in(2, 0));
  const device::Link third = link(out(1, 1), in(0, 0));
  const device::Link fourth = link(out(3, 0), in(3, 1));
  const device::Link fresh = link(out(2, 0), in(3, 0));
  for (const std::size_t most : {1U, 2U}) {
    House house({Keys, second, third});
    house.service->connect(fourth, {});
    LinkPosition position = house.service->firstConnection();
    std::vector<device::Link> listed;
    const auto next = [&] {
      const auto piece = house.service->connectionsAfter(position, most);
      EXPECT_LE(piece.size(), most);
      for (const CarriedLink& one : piece) listed.push_back(one.link);
      return !piece.empty();
    };
    EXPECT_TRUE(next());
    house.service->disconnect(Keys, {});
    house.service->connect(Keys, {});
    house.service->connect(fresh, {});
    house.service->disconnect(third, {});
    house.service->connect(third, {});
    while (next()) house.service->connect(link(out(3, 1), in(3, 1)), {});
    EXPECT_EQ(listed, (std::vector{Keys, second, fourth})) << "third ended before its turn, and another one came later";
    EXPECT_FALSE(next());
  }
}

TEST(Service, ConnectionsThatClientsMakeAreLimited) {
  House house({Keys}, {}, nullptr, evenTopology(4, 2), {.links = 2});
  const device::Link second = link(out(0, 0), in(2, 0));
  const device::Link third = link(out(0, 0), in(3, 0));
  EXPECT_EQ(house.service->connect(second, {}), Status::Ok);
  EXPECT_EQ(house.service->connect(third, {}), Status::Refused);
  EXPECT_EQ(house.service->connect(Keys, {}), Status::Ok) << "it exists";
  EXPECT_EQ(house.service->connect(link(out(9, 0), in(3, 0)), {}), Status::NotFound);
  EXPECT_EQ(house.service->links(), (std::vector{Keys, second}));
  house.device->events().linked(third, {});
  EXPECT_EQ(house.service->links().size(), 3U) << "what another system has made exists";
  EXPECT_EQ(house.service->disconnect(second, {}), Status::Ok);
  EXPECT_EQ(house.service->disconnect(third, {}), Status::Ok);
  EXPECT_EQ(house.service->connect(second, {}), Status::Ok);
}

TEST(Service, DeviceEmitsWhileItAdvances) {
  House house({Keys}, {}, [](TestDevice& device) {
    device.onAdvance = [](device::DriverEvents& events, device::Time now) -> std::optional<device::Time> {
      const Bytes clock = {0xF8};
      const Bytes none;
      events.emitted(out(0, 0), {0, clock}, now);
      events.emitted(out(0, 0), {0, none}, now);
      events.emitted(in(1, 0), {0, clock}, now);
      events.emitted(out(0, 0), {3, clock}, now);
      return now + device::Time(10);
    };
  });
  const ClientId client = house.service->addClient();
  house.tap(client, "G1In1");
  EXPECT_EQ(house.service->advance(device::Time(100)), device::Time(110));
  const auto received = house.take(client);
  EXPECT_EQ(textsOf(received), (Texts{"1 G1In1: F8", "1 G1In1: F8"})) << "two trips, and no message without bytes";
  EXPECT_EQ(received[0].time, 100U);
  EXPECT_EQ(received[1].group, 3);
}

TEST(Service, DeviceThatWaitsForNothingHasNoNextTime) {
  House house;
  EXPECT_EQ(house.service->advance(device::Time(100)), std::nullopt);
}

TEST(Service, RequestsOfNobodyHaveNoEffect) {
  House house({Keys});
  house.news();
  house.service->removeClient(Nobody, {});
  house.service->untapAll(Nobody, One, {});
  EXPECT_FALSE(house.service->hasEvents(Nobody));
  EXPECT_TRUE(house.take(Nobody).empty());
  EXPECT_EQ(house.news(), Told());
}

TEST(Service, RemovedClientIsForgotten) {
  House house;
  const ClientId ann = house.service->addClient();
  const ClientId ben = house.service->addClient();
  house.tap(ann, "G0Out1");
  house.tap(ben, "G0Out1");
  house.inject("G0Out1", {0xF8});
  house.service->removeClient(ann, {});
  house.inject("G0Out1", {0xFA});
  EXPECT_FALSE(house.service->hasEvents(ann));
  EXPECT_TRUE(house.take(ann).empty());
  EXPECT_EQ(house.tap(ann, "G0Out1"), Status::NoSession);
  EXPECT_EQ(house.send(ann, {0xF8}), Status::NoSession);
  EXPECT_EQ(house.texts(ben), (Texts{"1 G0Out1: F8", "1 G0Out1: FA"}));
  const ClientId next = house.service->addClient();
  EXPECT_NE(next, ann);
  EXPECT_FALSE(house.service->hasEvents(next));
}

TEST(Service, SlowReaderLosesExactlyTheExcessAndOtherReadersNothing) {
  House house({}, {.queueBytes = 10'000});
  const ClientId slow = house.service->addClient();
  const ClientId quick = house.service->addClient();
  house.tap(slow, "G0Out1");
  house.tap(quick, "G0Out1");
  std::size_t quickGot = 0;
  const auto inject = [&](std::uint32_t from, std::uint32_t to) {
    for (std::uint32_t i = from; i < to; ++i) {
      house.inject("G0Out1", {0x90, static_cast<std::uint8_t>(i >> 8U), static_cast<std::uint8_t>(i)});
      quickGot += house.take(quick).size();
    }
  };
  inject(0, 5000);
  std::uint64_t received = 0;
  std::uint64_t lost = 0;
  std::uint32_t next = 0;
  const auto read = [&](const std::vector<Received>& all) {
    for (const Received& one : all) {
      if (one.lost > 0) {
        lost += one.lost;
        next += static_cast<std::uint32_t>(one.lost);
        continue;
      }
      EXPECT_EQ(one.message[1] << 8U | one.message[2], next) << "every gap is told where it is";
      ++next;
      ++received;
    }
  };
  read(house.take(slow, 3000));
  inject(5000, 6000);
  read(house.take(slow));
  EXPECT_EQ(quickGot, 6000U);
  EXPECT_EQ(received + lost, 6000U);
  EXPECT_GT(lost, 4000U);
  EXPECT_GT(received, 1000U);
  EXPECT_FALSE(house.service->hasEvents(slow));
}

TEST(Service, TwentyThousandMessagesArriveCompleteAndInOrder) {
  constexpr std::uint32_t Count = 20'000;
  House house({Keys}, {}, [](TestDevice& device) {
    device.remembersDeliveries = false;
    device.onAdvance = [sent = std::uint32_t{0}](device::DriverEvents& events,
                                                 device::Time now) mutable -> std::optional<device::Time> {
      for (int i = 0; i < 100; ++i, ++sent) {
        const Bytes message = {0xF0, static_cast<std::uint8_t>(sent >> 8U), static_cast<std::uint8_t>(sent), 0xF7};
        events.emitted(out(0, 0), {0, message}, now);
      }
      return sent < Count ? std::optional(now) : std::nullopt;
    };
  });
  const ClientId ann = house.service->addClient();
  const ClientId ben = house.service->addClient();
  house.tap(ann, "G1In1");
  house.tap(ben, "G0Out1");
  Bytes annBytes;
  device::Time now{};
  while (house.service->advance(now)) {
    now += std::chrono::microseconds(50);
    house.service->takeEvents(ann, 700, annBytes);
  }
  while (house.service->takeEvents(ann, 700, annBytes) > 0) {
  }
  for (const auto& received : {readEntries(annBytes), house.take(ben)}) {
    ASSERT_EQ(received.size(), Count);
    for (std::uint32_t i = 0; i < Count; ++i) {
      ASSERT_EQ(received[i].message[1] << 8U | received[i].message[2], i);
      ASSERT_EQ(received[i].lost, 0U);
    }
  }
}

}  // namespace
}  // namespace service
