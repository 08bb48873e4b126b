#include "platform/service/client_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "tests/platform/service/device.h"

namespace service {
namespace {

const Bytes Note{0x90, 0x40, 0x7F};

void addNote(ClientTable& clients, ClientId client, std::uint16_t port = 0) {
  clients.addMessage(client, EventPortId{1}, in(0, port), "p", 1004, {0, Note}, {});
}

TEST(ClientTable, NumbersAreNotReused) {
  ClientTable clients(1024);
  const ClientId one = clients.add();
  EXPECT_TRUE(clients.contains(one));
  clients.remove(one);
  EXPECT_FALSE(clients.contains(one));
  EXPECT_FALSE(clients.hasEvents(one));
  EXPECT_NE(clients.add(), one);
}

TEST(ClientTable, TotalsIncludeRemovedClients) {
  ClientTable clients(100);
  const ClientId one = clients.add();
  const ClientId two = clients.add();
  while (clients.counts(one).lost == 0) addNote(clients, one);
  addNote(clients, two);
  clients.countIn(two);
  const std::uint64_t accepted = clients.counts(one).out;
  EXPECT_GT(accepted, 0U);
  EXPECT_EQ(clients.counts(two).in, 1U);
  EXPECT_EQ(clients.counts(two).out, 1U);
  EXPECT_GT(clients.counts(two).queueBytes, 0U);
  clients.remove(one);
  clients.remove(one);
  EXPECT_EQ(clients.counts().out, accepted + 1);
  EXPECT_EQ(clients.counts().lost, 1U);
  EXPECT_EQ(clients.counts(one).out, 0U);
}

using Ids = std::vector<ClientId>;

TEST(ClientTable, TellsOnceForWhomEventsBeganToWait) {
  ClientTable clients(10'000);
  const ClientId one = clients.add();
  const ClientId two = clients.add();
  const ClientId three = clients.add();
  EXPECT_EQ(clients.takeReady(), Ids());
  addNote(clients, two);
  addNote(clients, one);
  addNote(clients, two);
  clients.addLossBefore(three, 0);
  EXPECT_EQ(clients.takeReady(), (Ids{two, one, three}));
  addNote(clients, one);
  EXPECT_EQ(clients.takeReady(), Ids()) << "events still wait from before";
  Bytes out;
  clients.take(one, 1U << 20U, out);
  addNote(clients, one);
  clients.take(one, 1U << 20U, out);
  addNote(clients, one);
  EXPECT_EQ(clients.takeReady(), Ids{one});
  clients.take(one, 1U << 20U, out);
  addNote(clients, one);
  clients.take(one, 1U << 20U, out);
  clients.take(three, 1U << 20U, out);
  addNote(clients, three);
  clients.remove(three);
  EXPECT_EQ(clients.takeReady(), Ids()) << "one has taken them, and one has gone";
  addNote(clients, one);
  EXPECT_EQ(clients.takeReady(), Ids{one});
}

TEST(ClientTable, TellsOnceWhoLost) {
  ClientTable clients(100);
  const ClientId one = clients.add();
  const ClientId two = clients.add();
  const auto flood = [&](ClientId client) {
    for (int i = 0; i < 20; ++i) addNote(clients, client);
  };
  addNote(clients, one);
  EXPECT_EQ(clients.takeLosing(), Ids());
  flood(two);
  EXPECT_EQ(clients.takeLosing(), Ids{two});
  EXPECT_EQ(clients.takeLosing(), Ids());
  flood(one);
  flood(two);
  clients.remove(two);
  EXPECT_EQ(clients.takeLosing(), Ids{one}) << "the other has gone";
}

TEST(ClientTable, MemoryIsCountedForEachUser) {
  ClientTable clients(1U << 20U);
  const ClientId ann = clients.add(7);
  const ClientId annToo = clients.add(7);
  const ClientId ben = clients.add(8);
  EXPECT_EQ(clients.memory(), 0U);
  EXPECT_EQ(clients.memory(7), 0U);
  for (int i = 0; i < 2000; ++i) addNote(clients, ann);
  addNote(clients, annToo);
  addNote(clients, ben);
  EXPECT_GT(clients.memory(7), 18'000U);
  EXPECT_GT(clients.memory(8), 9U);
  EXPECT_EQ(clients.memory(), clients.memory(7) + clients.memory(8));
  EXPECT_EQ(clients.memory(9), 0U);
  Bytes out;
  clients.take(ben, 1U << 20U, out);
  EXPECT_EQ(clients.memory(8), 0U);
  clients.remove(ann);
  EXPECT_TRUE(clients.hasRemoved());
  EXPECT_GT(clients.memory(7), 18'000U) << "not free yet";
  while (clients.hasRemoved()) clients.sweep(1000);
  EXPECT_GT(clients.memory(7), 0U);
  EXPECT_LT(clients.memory(7), 1000U);
  clients.remove(annToo);
  clients.sweep(1000);
  EXPECT_FALSE(clients.hasRemoved());
  EXPECT_EQ(clients.memory(), 0U);
  EXPECT_EQ(clients.counts().out, 2002U);
  EXPECT_EQ(clients.counts().lost, 0U);
}

// Who holds how many thousand notes, how much must be free again, and who loses some then.
struct Drop {
  const char* what;
  std::vector<std::pair<std::uint32_t, int>> clients;  // user and thousands
  std::size_t memory;
  std::vector<bool> losers;
};

TEST(ClientTable, TheLargestBacklogOfTheLargestUserLosesFirst) {
  const Drop cases[] = {
      {"nothing waits", {{1, 0}, {2, 0}}, 1000, {false, false}},
      {"nothing is wanted", {{1, 1}, {2, 2}}, 0, {false, false}},
      {"one user", {{1, 10}, {1, 30}, {1, 20}}, 50'000, {false, true, false}},
      {"the user with the most, not the client", {{1, 20}, {2, 30}, {1, 21}}, 5'000, {false, false, true}},
      {"then the next client", {{1, 20}, {2, 10}, {1, 30}}, 200'000, {true, false, true}},
      {"then the next user", {{1, 20}, {2, 10}}, 200'000, {true, true}},
      {"everything", {{1, 3}, {2, 10}, {3, 1}}, 100'000'000, {true, true, true}},
  };
  for (const Drop& c : cases) {
    ClientTable clients(8U << 20U);
    Ids ids;
    for (const auto& [user, thousands] : c.clients) {
      ids.push_back(clients.add(user));
      for (int i = 0; i < 1000 * thousands; ++i) addNote(clients, ids.back());
    }
    const std::size_t before = clients.memory();
    const Counts counted = clients.counts();
    const std::size_t freed = clients.dropOldest(c.memory);
    EXPECT_EQ(freed, before - clients.memory()) << c.what;
    EXPECT_GE(freed, std::min(c.memory, before)) << c.what;
    EXPECT_LE(freed, c.memory + 3 * (16U << 10U)) << c.what;
    for (std::size_t i = 0; i < ids.size(); ++i) {
      EXPECT_EQ(clients.counts(ids[i]).lost > 0, c.losers[i]) << c.what << ", client " << i;
    }
    EXPECT_EQ(clients.counts().out + clients.counts().lost, counted.out) << c.what;
  }
}

TEST(ClientTable, OneUserAloneCanLose) {
  ClientTable clients(8U << 20U);
  const ClientId large = clients.add(1);
  const ClientId small = clients.add(2);
  for (int i = 0; i < 20'000; ++i) addNote(clients, large);
  for (int i = 0; i < 10'000; ++i) addNote(clients, small);
  EXPECT_GE(clients.dropOldestOf(2, 30'000), 30'000U);
  EXPECT_EQ(clients.counts(large).lost, 0U);
  EXPECT_GT(clients.counts(small).lost, 0U);
  EXPECT_LT(clients.dropOldestOf(2, 3'000'000), 200'000U);
  EXPECT_EQ(clients.memory(2), 0U);
  EXPECT_TRUE(clients.hasEvents(small)) << "the loss";
  EXPECT_EQ(clients.dropOldestOf(2, 1), 0U);
  EXPECT_EQ(clients.dropOldestOf(3, 1), 0U);
  EXPECT_EQ(clients.counts(large).lost, 0U);
}

}  // namespace
}  // namespace service
