// No single operation keeps others waiting for long, however much there is.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/service/house.h"
#include "tests/platform/service/longest.h"

namespace service {
namespace {

using device::Status;

// A device that says nothing, with two groups of 60,000 ports a side.
constexpr std::uint16_t ManyPorts = 60'000;

struct LargeHouse : House {
  LargeHouse() : House({}, {}, nullptr, evenTopology(2, ManyPorts)) { told.reserve(8 * ManyPorts); }

  // Does all work that is left. Returns how many slices it took.
  int finishWork() {
    for (int slices = 0;; ++slices) {
      if (!longest([&] { return service->advance({}); })) return slices;
    }
  }

  void tapMany(ClientId client, std::uint32_t eventPorts, std::uint32_t ports) {
    for (std::uint32_t port = 0; port < ports; ++port) {
      const std::string name = "G0Out" + std::to_string(port + 1);
      for (std::uint32_t eventPort = 0; eventPort < eventPorts; ++eventPort) {
        const auto status = longest([&] { return service->tap(client, EventPortId{eventPort}, name, Holder, {}); });
        ASSERT_EQ(status, Status::Ok);
      }
    }
    told.clear();
  }

  Longest longest;
};

TEST(Slices, ClientWithManyTapsLeavesInPieces) {
  for (const auto& [eventPorts, ports] : {std::pair{4U, 50'000U}, std::pair{1000U, 200U}}) {
    LargeHouse house;
    const ClientId client = house.service->addClient();
    house.tapMany(client, eventPorts, ports);
    house.longest([&] { house.service->removeClient(client, {}); });
    EXPECT_GT(house.finishWork(), 10);
    EXPECT_EQ(house.told.size(), ports) << "no source is used any more";
    EXPECT_LT(house.longest.time(), LongestAllowed) << eventPorts << " taps on each of " << ports << " ports";
  }
}

TEST(Slices, AllTapsOfAnEventPortEndInPieces) {
  LargeHouse house;
  const ClientId client = house.service->addClient();
  house.tapMany(client, 1, ManyPorts);
  house.longest([&] { house.service->untapAll(client, EventPortId{0}, {}); });
  EXPECT_EQ(house.service->counts(client).taps, 0U);
  EXPECT_GT(house.finishWork(), 10);
  EXPECT_EQ(house.told.size(), ManyPorts);
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

// What ends in pieces has ended for everybody at once.
TEST(Slices, TapsThatEndedGetNothingWhileTheyAreCleanedUp) {
  constexpr std::uint32_t Many = 20'000;
  LargeHouse house;
  const ClientId leaver = house.service->addClient();
  const ClientId stayer = house.service->addClient();
  house.tapMany(leaver, 1, Many);
  house.tap(stayer, "G0Out1");
  house.tapMany(stayer, 1, Many);
  house.service->removeClient(leaver, {});
  EXPECT_EQ(house.service->counts(leaver).taps, 0U);
  house.service->untapAll(stayer, EventPortId{0}, {});
  EXPECT_EQ(house.service->counts(stayer).taps, 1U);
  const auto copies = [&] { return house.service->counts().out; };
  house.inject("G0Out1", {0xF8});
  EXPECT_EQ(house.texts(stayer), Texts{"1 G0Out1: F8"});
  EXPECT_EQ(copies(), 1U);
  // A tap made again is a new one, behind the others.
  EXPECT_EQ(house.tap(stayer, "G0Out1", EventPortId{0}), Status::Ok);
  EXPECT_EQ(house.tap(stayer, "G0Out2", EventPortId{0}), Status::Ok);
  house.inject("G0Out1", {0xFA});
  EXPECT_EQ(house.texts(stayer), (Texts{"1 G0Out1: FA", "0 G0Out1: FA"}));
  house.told.clear();
  EXPECT_GT(house.finishWork(), 10);
  EXPECT_EQ(house.told.size(), Many - 2) << "the two that are tapped again stay in use";
  house.inject("G0Out2", {0xFC});
  house.inject("G0Out3", {0xFE});
  EXPECT_EQ(house.texts(stayer), Texts{"0 G0Out2: FC"});
  EXPECT_EQ(copies(), 4U);
}

TEST(Slices, TapsOfOnePortAreManyAndQuick) {
  for (const std::uint32_t clients : {20U, 20'000U}) {
    const std::uint32_t eventPorts = 20'000 / clients;
    LargeHouse house;
    std::vector<ClientId> all;
    for (std::uint32_t client = 0; client < clients; ++client) {
      all.push_back(house.service->addClient());
      house.tapMany(all.back(), eventPorts, 1);
    }
    house.longest([&] { house.inject("G0Out1", {0xF8}); });
    house.finishWork();
    EXPECT_EQ(house.service->counts().out, 20'000U);
    house.longest([&] { house.device->events().lost(out(0, 0), 3, {}); });
    house.finishWork();
    for (const ClientId client : all) EXPECT_EQ(house.take(client).size(), eventPorts + 1);
    const auto middle = all.begin() + static_cast<std::ptrdiff_t>(clients / 2);
    for (std::uint32_t eventPort = 0; eventPort < eventPorts; ++eventPort) {
      const auto untap = [&] { return house.service->untap(*middle, EventPortId{eventPort}, "G0Out1", {}); };
      ASSERT_EQ(house.longest(untap), Status::Ok);
    }
    all.erase(middle);
    house.longest([&] { house.inject("G0Out1", {0xFA}); });
    house.finishWork();
    EXPECT_EQ(house.service->counts().out, 40'000U - eventPorts);
    for (const ClientId client : all) {
      house.longest([&] { house.service->removeClient(client, {}); });
    }
    house.finishWork();
    EXPECT_EQ(house.told, Told{"unuse G0Out1"});
    EXPECT_LT(house.longest.time(), LongestAllowed) << clients << " clients";
  }
}

constexpr std::uint64_t PieceOfATrip = 2000;

// What is asked in between is answered, and no tap sees the port's messages in another order.
TEST(Slices, MessageReachesManyTapsInPieces) {
  constexpr std::uint32_t Clients = 20;
  constexpr std::uint32_t EventPorts = 1000;
  LargeHouse house;
  std::vector<ClientId> all;
  for (std::uint32_t client = 0; client < Clients; ++client) {
    all.push_back(house.service->addClient());
    house.tapMany(all.back(), EventPorts, 1);
  }
  const auto copies = [&] { return house.service->counts().out; };
  house.inject("G0Out1", {0xF8});
  EXPECT_TRUE(house.service->isPassing());
  // Meanwhile the device emits, loses something and emits again; a tap ends, and another one is made.
  house.device->events().emitted(out(0, 0), {0, Bytes{0xFA}}, {});
  house.device->events().lost(out(0, 0), 7, {});
  house.device->events().emitted(out(0, 0), {0, Bytes{0xFC}}, {});
  EXPECT_EQ(house.service->untap(all.back(), EventPortId{999}, "G0Out1", {}), Status::Ok);
  EXPECT_EQ(house.tap(all.front(), "G0Out2"), Status::Ok);
  int pieces = 0;
  for (std::uint64_t before = 0; house.service->isPassing(); ++pieces) {
    EXPECT_LE(copies() - before, PieceOfATrip);
    before = copies();
    house.service->advance({});
  }
  EXPECT_GT(pieces, 25);
  EXPECT_EQ(copies(), 3U * (Clients * EventPorts - 1));
  for (const ClientId client : all) {
    const Texts texts = house.texts(client);
    const std::size_t taps = client == all.back() ? EventPorts - 1 : EventPorts;
    ASSERT_EQ(texts.size(), 3 * taps + 1);
    for (std::size_t at = 0; at < taps; ++at) {
      const std::string tap = std::to_string(at) + " G0Out1: ";
      ASSERT_EQ(texts[at], tap + "F8");
      ASSERT_EQ(texts[taps + at], tap + "FA");
      ASSERT_EQ(texts[2 * taps + 1 + at], tap + "FC");
    }
  }
}

// A source that breaks while a message of it is on its way has lost what would have come next.
TEST(Slices, LossOfARefusedSourceStandsBehindTheMessageOnItsWay) {
  constexpr std::uint32_t EventPorts = 1000;
  LargeHouse house;
  std::vector<ClientId> all;
  for (int client = 0; client < 5; ++client) {
    all.push_back(house.service->addClient());
    house.tapMany(all.back(), EventPorts, 1);
  }
  house.inject("G0Out1", {0xF8});
  house.device->events().used(out(0, 0), Status::Refused, {});
  house.service->advance({});
  ASSERT_TRUE(house.service->isPassing());
  EXPECT_EQ(house.service->uncountedLosses(), 1U);
  house.finishWork();
  for (const ClientId client : all) {
    const Texts texts = house.texts(client);
    ASSERT_EQ(texts.size(), EventPorts + 1);
    EXPECT_EQ(texts.front(), "0 G0Out1: F8");
    EXPECT_EQ(texts.back(), "lost before 0");
  }
}

// Who hears of a loss, and of what comes after it, hears of the loss first.
TEST(Slices, ManyClientsAreToldOfALossInPieces) {
  constexpr std::uint32_t Clients = 6000;
  LargeHouse house;
  std::vector<ClientId> all;
  for (std::uint32_t client = 0; client < Clients; ++client) {
    all.push_back(house.service->addClient());
    house.tapMany(all.back(), 1, 1);
    ASSERT_EQ(house.tap(all.back(), "G1In1"), Status::Ok);
  }
  ASSERT_EQ(house.service->connect(link(out(0, 0), in(1, 0)), {}), Status::Ok);
  const auto told = [&] {
    return std::ranges::count_if(all, [&](ClientId client) { return house.service->hasEvents(client); });
  };
  house.longest([&] { house.device->events().lost(out(0, 0), 7, {}); });
  EXPECT_GT(told(), 0);
  EXPECT_LE(told(), static_cast<std::ptrdiff_t>(PieceOfATrip));
  EXPECT_EQ(house.service->lostBefore(), 7U);
  EXPECT_TRUE(house.service->isPassing());
  // Meanwhile the device emits, and some leave.
  house.device->events().emitted(out(0, 0), {0, Bytes{0xFA}}, {});
  house.service->removeClient(all.back(), {});
  all.pop_back();
  EXPECT_EQ(house.tap(all.front(), "G0Out2"), Status::Ok) << "others are served";
  EXPECT_GT(house.finishWork(), 10);
  for (const ClientId client : all) {
    ASSERT_EQ(house.texts(client), (Texts{"lost before 7", "0 G0Out1: FA", "1 G1In1: FA"}));
  }
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

TEST(Slices, LossOfManyRefusedSourcesIsToldInPieces) {
  constexpr std::uint32_t Clients = 1000;
  constexpr std::uint16_t Sources = 40;
  LargeHouse house;
  std::vector<ClientId> all;
  for (std::uint32_t client = 0; client < Clients; ++client) {
    all.push_back(house.service->addClient());
    house.tapMany(all.back(), 1, Sources);
  }
  for (std::uint16_t source = 0; source < Sources; ++source) {
    house.device->events().used(out(0, source), Status::Refused, {});
  }
  EXPECT_GT(house.finishWork(), 15) << "2,000 of 40,000 taps at a time";
  EXPECT_EQ(house.service->uncountedLosses(), Sources);
  for (const ClientId client : all) ASSERT_EQ(house.texts(client), Texts{"lost before 0"});
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

// Whoever does not care gets everything in the right order nevertheless.
TEST(Slices, NextMessageFinishesTheOneOnItsWay) {
  LargeHouse house;
  const ClientId client = house.service->addClient();
  house.tapMany(client, 1000, 1);
  const ClientId other = house.service->addClient();
  house.tapMany(other, 1000, 1);
  const ClientId third = house.service->addClient();
  house.tapMany(third, 1000, 1);
  house.inject("G0Out1", {0xF8});
  house.inject("G0Out1", {0xFA});
  house.finishWork();
  const Texts texts = house.texts(third);
  ASSERT_EQ(texts.size(), 2000U);
  EXPECT_EQ(texts[999], "999 G0Out1: F8");
  EXPECT_EQ(texts[1000], "0 G0Out1: FA");
}

TEST(Slices, MessagePassesManyPortsOfOneEventPortInPieces) {
  LargeHouse house;
  const ClientId client = house.service->addClient();
  house.tapMany(client, 1, ManyPorts);
  house.longest([&] { house.send(client, {0xF8}, EventPortId{0}); });
  EXPECT_LE(house.service->counts().out, PieceOfATrip);
  EXPECT_GT(house.finishWork(), 20);
  const Texts texts = house.texts(client);
  ASSERT_EQ(texts.size(), std::size_t{ManyPorts});
  EXPECT_EQ(texts.front(), "0 G0Out1: F8");
  EXPECT_EQ(texts.back(), "0 G0Out60000: F8");
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

// The device answers at each sink, and each answer goes on to the next.
TEST(Slices, MessagePassesAChainOfThrusInPieces) {
  constexpr std::uint16_t Thrus = 5000;
  LargeHouse house;
  house.device->beThru();
  for (std::uint16_t index = 0; index + 1 < Thrus; ++index) {
    const auto next = static_cast<std::uint16_t>(index + 1);
    ASSERT_EQ(house.service->connect(link(out(0, index), in(0, next)), {}), Status::Ok);
  }
  house.finishWork();
  house.told.clear();
  house.inject("G0In1", {0xF8});
  EXPECT_TRUE(house.service->isPassing());
  EXPECT_LE(house.told.size(), PieceOfATrip);
  EXPECT_GT(house.finishWork(), 2);
  ASSERT_EQ(house.told.size(), std::size_t{Thrus});
  EXPECT_EQ(house.told.back(), "deliver G0In5000 F8");
}

// Connects all sources of both groups to one sink in the other system, which carries them.
void connectAllTo(LargeHouse& house, device::PortId sink) {
  for (const std::uint64_t group : {0U, 1U}) {
    for (std::uint16_t index = 0; index < ManyPorts; ++index) {
      house.longest([&] {
        house.device->events().linked(link(out(group, index), sink), {});
        house.service->takeGraphChanges();
      });
    }
  }
  house.finishWork();
}

TEST(Slices, TapOfASinkWithManySourcesUsesThemInPieces) {
  LargeHouse house;
  const ClientId client = house.service->addClient();
  connectAllTo(house, in(0, 7));
  EXPECT_EQ(house.told, Told{"start"});
  house.told.clear();
  const Reply reply = house.longest([&] { return house.tap(client, "G0In8"); });
  EXPECT_EQ(reply.status, std::nullopt) << "not before all sources are in use";
  EXPECT_TRUE(house.service->takeAnswers().empty());
  const std::size_t first = house.told.size();
  EXPECT_GT(first, 0U);
  EXPECT_LT(first, 1000U);
  house.finishWork();
  EXPECT_EQ(house.told.size(), 2U * ManyPorts);
  EXPECT_EQ(house.service->takeAnswers(), (std::vector<Answer>{{reply.request, Status::Ok}}));
  // Changes of mind on the way are settled, too, and pile up nothing.
  house.told.clear();
  for (int turn = 0; turn < 1001; ++turn) {
    const bool taps = turn % 2 == 1;
    house.longest([&] {
      if (taps) {
        house.tap(client, "G0In8");
      } else {
        house.service->untapAll(client, One, {});
      }
    });
  }
  const int slices = house.finishWork();
  EXPECT_GT(slices, 0);
  EXPECT_LT(slices, 1000);
  house.told.clear();
  house.tap(client, "G0In8");
  house.finishWork();
  EXPECT_EQ(house.told.size(), 2U * ManyPorts) << "none was in use";
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

TEST(Slices, ConnectionsOfPortsThatHaveGoneEndInPieces) {
  LargeHouse house;
  connectAllTo(house, in(0, 7));
  std::vector<device::Group> groups = house.device->topology().groups();
  groups[0].sinks->gone.assign(ManyPorts, true);
  house.longest([&] { house.device->change(device::Topology(groups)); });
  const std::size_t atOnce = house.service->takeGraphChanges().size();
  EXPECT_GT(atOnce, 0U);
  EXPECT_LT(atOnce, 2000U);
  house.inject("G1Out60000", {0xF8});
  EXPECT_FALSE(std::ranges::any_of(house.told, [](const std::string& one) { return one.starts_with("deliver"); }));
  // The port returns, and one of its connections is made again: a new one.
  groups[0].sinks->gone.clear();
  house.longest([&] { house.device->change(device::Topology(groups)); });
  const device::Link again = link(out(1, 59'999), in(0, 7));
  house.longest([&] { house.device->events().linked(again, {}); });
  house.finishWork();
  EXPECT_EQ(house.service->links(), std::vector{again});
  const auto changes = house.service->takeGraphChanges();
  EXPECT_EQ(changes.size(), 2U * ManyPorts - atOnce + 1);
  EXPECT_EQ(changes.back().version, house.service->graphVersion());
  EXPECT_EQ(std::ranges::count(changes, true, &GraphChange::added), 1);
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

TEST(Slices, TapsOfADroppedGroupMoveInPieces) {
  LargeHouse house;
  const ClientId client = house.service->addClient();
  house.tapMany(client, 1, ManyPorts);
  std::vector<device::Group> groups = house.device->topology().groups();
  groups[0].handle = 9;
  house.longest([&] { house.device->change(device::Topology(groups)); });
  house.finishWork();
  EXPECT_EQ(house.told.size(), 2U * ManyPorts) << "each source has ended and another one begun";
  house.inject("G0Out60000", {0xF8});
  EXPECT_EQ(house.texts(client), Texts{"0 G0Out60000: F8"});
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

// A message takes those taps along that have not moved yet.
TEST(Slices, TapsOfADroppedGroupMissNothingWhileTheyMove) {
  LargeHouse house;
  const ClientId client = house.service->addClient();
  house.tapMany(client, 1, ManyPorts);
  house.tapMany(client, 900, 1);
  std::vector<device::Group> groups = house.device->topology().groups();
  groups[0].handle = 9;
  house.device->change(device::Topology(groups));
  std::vector<Received> received;
  for (const char* port : {"G0Out1", "G0Out2", "G0Out30000", "G0Out60000"}) {
    house.inject(port, {0xF8});
    for (const Received& one : house.take(client)) received.push_back(one);
  }
  EXPECT_EQ(received.size(), 900U + 3);
  EXPECT_EQ(received.front().text(), "0 G0Out1: F8");
  house.finishWork();
  EXPECT_EQ(house.told.size(), 2U * ManyPorts) << "each source has ended and another one begun";
}

TEST(Slices, WarningsOfRemovedPortsAreForgottenInPieces) {
  LargeHouse house;
  const ClientId client = house.service->addClient();
  house.tapMany(client, 1, ManyPorts);
  const auto send = [&] {
    house.send(client, {0xF8}, EventPortId{0});
    house.finishWork();
    return house.service->takeNotes().size();
  };
  const std::vector<device::Group> all = house.device->topology().groups();
  std::vector<device::Group> groups = all;
  groups[0].sources->gone.assign(ManyPorts, true);
  house.device->change(device::Topology(groups));
  EXPECT_EQ(send(), std::size_t{ManyPorts});
  EXPECT_EQ(send(), 0U);
  house.longest([&] { house.device->change(device::Topology(all)); });
  EXPECT_GT(house.finishWork(), 20);
  house.device->change(device::Topology(groups));
  EXPECT_EQ(send(), std::size_t{ManyPorts}) << "the ports were there in between";
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

TEST(Slices, AMillionConnectionsAreMadeAndListedInPieces) {
  constexpr std::size_t AtOnce = 10'000;
  LargeHouse house;
  constexpr std::uint16_t Sinks = testsupport::Sanitized ? 2 : 20;
  std::vector<device::Link> expected;
  for (std::uint16_t sink = 0; sink < Sinks; ++sink) {
    for (std::uint16_t source = 0; source < 50'000; ++source) {
      expected.push_back(link(out(0, source), in(1, sink)));
      house.longest([&] {
        house.service->connect(link(out(0, source), in(1, sink)), {});
        house.service->takeGraphChanges();
      });
    }
  }
  LinkPosition position = house.service->firstConnection();
  std::vector<device::Link> listed;
  for (;;) {
    const auto piece = house.longest([&] { return house.service->connectionsAfter(position, AtOnce); });
    if (piece.empty()) break;
    EXPECT_EQ(piece.size(), AtOnce);
    for (const CarriedLink& one : piece) listed.push_back(one.link);
  }
  EXPECT_TRUE(listed == expected) << listed.size() << " of " << expected.size();
  EXPECT_LT(house.longest.time(), LongestAllowed);
}

}  // namespace
}  // namespace service
