// What clients may hold in all: who loses what beyond that, and whether what is counted is what the allocator spends.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "platform/service/client_table.h"
#include "platform/service/tap_table.h"
#include "tests/platform/service/house.h"
#include "tests/support/sanitizer.h"

namespace service {
namespace {

using device::Status;

constexpr std::uint32_t Ann = 1000;
constexpr std::uint32_t Ben = 1001;
constexpr std::uint32_t Eve = 1002;

constexpr std::size_t MiB = 1U << 20U;

class MemoryCeiling : public testing::Test {
 protected:
  // Notes with numbers from `from` on.
  void add(ClientId client, int count, int from = 0) {
    for (int i = from; i < from + count; ++i) {
      const Bytes note{0x90, static_cast<std::uint8_t>(i % 128), static_cast<std::uint8_t>(i / 128 % 128)};
      clients_.addMessage(client, One, out(0, 0), "p", Holder, {static_cast<std::uint16_t>(i / 16384), note}, {});
      highest_ = std::max(highest_, ledger_.total());
    }
  }

  // The numbers of the notes that wait, after so many losses.
  std::vector<int> take(ClientId client, std::uint64_t& lost) {
    Bytes entries;
    clients_.take(client, Everything, entries);
    std::vector<int> numbers;
    lost = 0;
    for (const Received& one : readEntries(entries)) {
      if (one.lost > 0) {
        EXPECT_TRUE(numbers.empty()) << "the oldest are lost";
        lost += one.lost;
      } else {
        numbers.push_back(one.group * 16384 + one.message.at(2) * 128 + one.message.at(1));
      }
    }
    return numbers;
  }

  MemoryLedger ledger_{2 * MiB};
  ClientTable clients_{64 * MiB, &ledger_};
  std::size_t highest_ = 0;
};

// Above the limit for a moment: a chunk of each list, and what one message takes.
constexpr std::size_t Step = 3 * 16384;

TEST_F(MemoryCeiling, OldestOfAUserWithMoreThanHalfAreLostAtTheirPlace) {
  constexpr int Count = 300'000;
  const ClientId deaf = clients_.add(Eve);
  const ClientId quiet = clients_.add(Eve);
  const ClientId other = clients_.add(Ann);
  add(quiet, 100);
  add(other, 100);
  add(deaf, Count);
  EXPECT_LE(highest_, ledger_.mostOfUser() + ClientTable::ClientBytes + clients_.memory(Ann) + Step);
  EXPECT_GT(ledger_.of(Eve), ledger_.mostOfUser() * 3 / 4) << "no more is lost than needed";
  EXPECT_EQ(clients_.counts(quiet).lost, 0U) << "the client with the most loses";
  EXPECT_EQ(clients_.counts(other).lost, 0U);
  std::uint64_t lost = 0;
  const auto numbers = take(deaf, lost);
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(lost, clients_.counts(deaf).lost);
  ASSERT_EQ(lost + numbers.size(), static_cast<std::uint64_t>(Count));
  for (std::size_t i = 0; i < numbers.size(); ++i) ASSERT_EQ(numbers[i], static_cast<int>(lost + i));
}

TEST_F(MemoryCeiling, LargestUserLosesWhenAllHoldTooMuch) {
  const ClientId ann = clients_.add(Ann);
  const ClientId ben = clients_.add(Ben);
  const ClientId eve = clients_.add(Eve);
  const auto fill = [&](ClientId client, std::uint32_t user, std::size_t bytes) {
    while (ledger_.of(user) < bytes) add(client, 10);
  };
  fill(ann, Ann, MiB / 2);
  fill(eve, Eve, MiB * 95 / 100);
  fill(ben, Ben, MiB / 4);
  EXPECT_EQ(clients_.counts().lost, 0U);
  fill(ben, Ben, MiB / 2 - 65536);
  EXPECT_GT(clients_.counts(eve).lost, 0U);
  EXPECT_EQ(clients_.counts(ann).lost + clients_.counts(ben).lost, 0U);
  EXPECT_LE(highest_, ledger_.ceiling() - ledger_.reserve() + Step);
}

TEST_F(MemoryCeiling, WhatClientsLeaveIsFreedBeforeAnythingIsLost) {
  const ClientId gone = clients_.add(Eve);
  const ClientId here = clients_.add(Eve);
  add(gone, 40'000);
  add(here, 40'000);
  ASSERT_EQ(clients_.counts().lost, 0U);
  const std::size_t held = ledger_.of(Eve);
  ASSERT_GT(held + clients_.memory(Eve) / 2, ledger_.mostOfUser());
  clients_.remove(gone);
  EXPECT_EQ(ledger_.of(Eve), held) << "not free yet";
  add(here, 40'000);
  EXPECT_EQ(clients_.counts().lost, 0U);
}

TEST_F(MemoryCeiling, NobodyGetsMoreWhenOthersFillEverything) {
  const ClientId client = clients_.add(Ann);
  add(client, 10);
  // Buffers of connections, which cannot be dropped here.
  ledger_.change(Eve, 0, ledger_.ceiling());
  add(client, 5, 10);
  EXPECT_EQ(clients_.counts(client).out, 10U);
  EXPECT_EQ(clients_.counts(client).lost, 5U);
  ledger_.change(Eve, ledger_.ceiling(), 0);
  add(client, 1, 15);
  Bytes entries;
  clients_.take(client, Everything, entries);
  const auto texts = textsOf(readEntries(entries));
  ASSERT_EQ(texts.size(), 12U);
  EXPECT_EQ(texts[9], "1 p: 90 09 00");
  EXPECT_EQ(texts[10], "lost 5");
  EXPECT_EQ(texts[11], "1 p: 90 0F 00");
}

TEST_F(MemoryCeiling, RelieveFreesNothingWithoutNeed) {
  const ClientId client = clients_.add(Ann);
  add(client, 10'000);
  EXPECT_EQ(clients_.relieve(), 0U);
  ledger_.change(Ann, 0, ledger_.mostOfUser());
  EXPECT_GT(clients_.relieve(), 0U);
  EXPECT_GT(clients_.counts(client).lost, 0U);
  ClientTable uncounted(MiB);
  EXPECT_EQ(uncounted.relieve(), 0U);
}

TEST_F(MemoryCeiling, ClientsAreCountedUntilTheyAreFreed) {
  const ClientId one = clients_.add(Ann);
  const ClientId two = clients_.add(Ann);
  clients_.add(Ben);
  EXPECT_EQ(clients_.clientsOf(Ann), 2U);
  EXPECT_EQ(clients_.clientsOf(Ben), 1U);
  EXPECT_EQ(clients_.clientsOf(Eve), 0U);
  EXPECT_EQ(clients_.user(one), Ann);
  EXPECT_EQ(clients_.user(Nobody), 0U);
  add(two, 3);
  EXPECT_EQ(ledger_.of(Ann), 2 * ClientTable::ClientBytes + clients_.memory(Ann));
  clients_.remove(one);
  clients_.remove(one);
  EXPECT_EQ(clients_.clientsOf(Ann), 1U);
  clients_.remove(two);
  EXPECT_EQ(clients_.clientsOf(Ann), 0U);
  while (clients_.hasRemoved()) clients_.sweep(MiB);
  EXPECT_EQ(ledger_.of(Ann), 0U);
  EXPECT_EQ(ledger_.total(), ClientTable::ClientBytes);
}

TEST(TapMemory, IsCountedForTheUserUntilTheTapsAreForgotten) {
  constexpr std::size_t All = std::numeric_limits<std::size_t>::max();
  constexpr ClientId Client{1};
  constexpr ClientId Other{2};
  constexpr std::size_t Tap = TapTable::TapBytes;
  constexpr std::size_t Port = TapTable::EventPortBytes;
  MemoryLedger ledger(MiB);
  TapTable taps(ledger, [](ClientId client) { return client == Client ? Ann : Ben; });
  taps.add(Client, One, out(0, 0), 0, "p");
  EXPECT_EQ(ledger.of(Ann), Port + Tap);
  EXPECT_FALSE(taps.add(Client, One, out(0, 0), 0, "p"));
  taps.add(Client, One, out(0, 1), 0, "q");
  taps.add(Client, Two, out(0, 0), 0, "p");
  taps.add(Other, One, out(0, 0), 0, "p");
  EXPECT_EQ(ledger.of(Ann), 2 * Port + 3 * Tap);
  EXPECT_EQ(ledger.of(Ben), Port + Tap);
  taps.remove(Client, Two, out(0, 0));
  EXPECT_EQ(ledger.of(Ann), Port + 2 * Tap);
  taps.move(out(0, 1), out(0, 0), All);
  EXPECT_EQ(ledger.of(Ann), Port + Tap) << "it taps both";
  taps.move(out(0, 0), out(0, 5), All);
  EXPECT_EQ(ledger.of(Ann), Port + Tap);
  taps.removeClient(Client);
  EXPECT_EQ(ledger.of(Ann), Port + Tap) << "not free yet";
  taps.sweep(All);
  EXPECT_EQ(ledger.of(Ann), 0U);
  taps.removeAll(Other, One);
  taps.sweep(All);
  EXPECT_EQ(ledger.total(), 0U);
}

std::size_t allocated() {
  const auto use = mallinfo2();
  return use.uordblks + use.hblkhd;
}

TEST(TapMemory, IsAboutWhatTheAllocatorSpends) {
  if (testsupport::Sanitized) GTEST_SKIP() << "the sanitizer has an allocator of its own";
  struct Load {
    const char* what;
    std::uint32_t clients;
    std::uint32_t eventPorts;  // of each
    std::uint16_t ports;       // that each of these taps
    std::uint16_t apart;       // indices between the ports
  };
  const Load loads[] = {{"a large group", 2, 1, 50'000, 1},          {"many clients on one port", 20'000, 1, 1, 1},
                        {"event ports at one port", 50, 1000, 1, 1}, {"ports far apart", 20, 1, 2'000, 32},
                        {"the last port", 10, 1000, 1, 65'535},      {"some ports each", 2'000, 2, 20, 1}};
  for (const Load& load : loads) {
    MemoryLedger ledger(1024 * MiB);
    TapTable taps(ledger, [](ClientId) { return Ann; });
    // The table of the tapped ports themselves is there already.
    const auto tapAll = [&](ClientId client, EventPortId eventPort) {
      for (std::uint32_t i = 0; i < load.ports; ++i) {
        const auto index = static_cast<std::uint16_t>(load.ports == 1 ? load.apart - 1 : i * load.apart);
        taps.add(client, eventPort, out(0, index), 0, "p");
      }
    };
    tapAll(ClientId{0}, One);
    const std::size_t before = allocated();
    const std::size_t countedBefore = ledger.total();
    for (std::uint32_t client = 1; client <= load.clients; ++client) {
      for (std::uint32_t eventPort = 0; eventPort < load.eventPorts; ++eventPort) {
        tapAll(ClientId{client}, EventPortId{eventPort});
      }
    }
    const auto spent = static_cast<double>(allocated() - before);
    const auto counted = static_cast<double>(ledger.total() - countedBefore);
    const double count = double{1} * load.clients * load.eventPorts * load.ports;
    RecordProperty(load.what, std::to_string(spent / count));
    EXPECT_GT(counted, 0.9 * spent) << load.what << ": " << spent / count << " bytes a tap";
    EXPECT_LT(counted, 2.0 * spent) << load.what << ": " << spent / count << " bytes a tap";
  }
}

// The first of these takes the memory, the others are refused.
TEST(MemoryCeilingOfAService, TapsOfAUserWhoHoldsHalfAreRefused) {
  House house({}, {.memory = 64U << 10U}, nullptr, evenTopology(2, 200));
  const ClientId full = house.service->addClient(Eve);
  const ClientId other = house.service->addClient(Ann);
  int made = 0;
  while (made < 200 && house.tap(full, ("G0Out" + std::to_string(made + 1)).c_str()) == Status::Ok) ++made;
  EXPECT_GT(made, 20);
  EXPECT_LT(made, 200);
  const std::string next = "G0Out" + std::to_string(made + 1);
  EXPECT_EQ(house.tap(full, next.c_str()), Status::Refused);
  EXPECT_EQ(house.tap(full, "G0Out1"), Status::Ok) << "there is this tap";
  EXPECT_EQ(house.tap(full, "G9Out1"), Status::NotFound);
  EXPECT_EQ(house.service->counts(full).taps, static_cast<std::uint32_t>(made));
  EXPECT_EQ(house.tap(other, next.c_str()), Status::Ok) << "of another user";
  EXPECT_EQ(house.service->untap(full, One, "G0Out1", {}), Status::Ok);
  EXPECT_EQ(house.service->untap(full, One, "G0Out2", {}), Status::Ok);
  EXPECT_EQ(house.tap(full, next.c_str()), Status::Ok);
}

TEST(MemoryCeilingOfAService, ConnectionsAreNobodysAndTakeThreeQuarters) {
  House house({}, {.memory = 64U << 10U}, nullptr, evenTopology(2, 200));
  int made = 0;
  const auto connect = [&](std::uint16_t source, std::uint16_t sink) {
    return house.service->connect(link(out(0, source), in(1, sink)), {});
  };
  for (std::uint16_t i = 0; i < 200 && connect(i, i) == Status::Ok; ++i) ++made;
  EXPECT_GT(made, 50);
  EXPECT_LT(made, 200);
  EXPECT_EQ(house.service->memory().shared(), house.service->links().size() * 352);
  EXPECT_LE(house.service->memory().shared(), 48U << 10U);
  EXPECT_GT(house.service->memory().shared(), 47U << 10U);
  EXPECT_EQ(connect(150, 151), Status::Refused);
  EXPECT_EQ(connect(0, 0), Status::Ok) << "there is this connection";
  EXPECT_EQ(house.service->disconnect(link(out(0, 0), in(1, 0)), {}), Status::Ok);
  EXPECT_EQ(connect(150, 151), Status::Ok);
}

TEST(MemoryCeilingOfAService, ConnectionsOfTheDeviceCountFromTheStart) {
  const House house({Keys});
  EXPECT_EQ(house.service->memory().shared(), 352U);
}

TEST(MemoryCeilingOfAService, KnowsWhoHasRoomForAConnection) {
  House house({Keys}, {.memory = MiB});
  const ClientId full = house.service->addClient(Eve);
  const ClientId other = house.service->addClient(Ann);
  const device::Link fresh = link(out(0, 1), in(1, 1));
  EXPECT_TRUE(house.service->hasRoomFor(full, fresh));
  house.service->memory().change(Eve, 0, MiB / 2);
  EXPECT_FALSE(house.service->hasRoomFor(full, fresh));
  EXPECT_TRUE(house.service->hasRoomFor(full, Keys)) << "it exists";
  EXPECT_TRUE(house.service->hasRoomFor(full, link(out(9, 0), in(1, 0)))) << "connect says what is wrong";
  EXPECT_TRUE(house.service->hasRoomFor(other, fresh));
}

TEST(MemoryCeilingOfAService, NewClientsMayUseTheReserve) {
  House house({}, {.memory = MiB});
  MemoryLedger& memory = house.service->memory();
  memory.change(Eve, 0, MiB / 2);
  memory.change(Ben, 0, MiB - MiB / 16 - memory.total());
  const ClientId client = house.service->addClient(Ann);
  EXPECT_EQ(house.tap(client, "G0Out1"), Status::Ok) << "a user who holds little";
  const ClientId large = house.service->addClient(Eve);
  EXPECT_EQ(house.tap(large, "G0Out1"), Status::Refused);
  EXPECT_TRUE(house.service->hasRoomForClient(Ann));
  memory.change(Ben, 0, MiB - memory.total());
  EXPECT_FALSE(house.service->hasRoomForClient(Ann));
}

}  // namespace
}  // namespace service
