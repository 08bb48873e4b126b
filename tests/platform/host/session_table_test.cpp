#include "platform/host/session_table.h"

#include <gtest/gtest.h>

namespace host {
namespace {

constexpr service::ClientId One{1};
constexpr service::ClientId Two{2};

TEST(SessionTable, FindsByNumberAndByAnyPeer) {
  SessionTable table;
  Session* session = table.add("control", One);
  ASSERT_NE(session, nullptr);
  EXPECT_TRUE(table.openEvents(*session, "events"));
  EXPECT_TRUE(table.openGraph(*session, "graph"));
  EXPECT_EQ(table.find(session->number), session);
  for (const char* peer : {"control", "events", "graph"}) EXPECT_EQ(table.findByPeer(peer), session) << peer;
  EXPECT_EQ(table.findByPeer("nobody"), nullptr);
  EXPECT_EQ(table.find(session->number + 1), nullptr);
}

TEST(SessionTable, PeerBelongsToOneSession) {
  SessionTable table;
  Session* one = table.add("a", One);
  Session* two = table.add("b", Two);
  ASSERT_NE(two, nullptr);
  EXPECT_EQ(table.add("a", Two), nullptr);
  EXPECT_FALSE(table.openEvents(*two, "a"));
  EXPECT_TRUE(table.openEvents(*two, "e"));
  EXPECT_FALSE(table.openGraph(*one, "e"));
  EXPECT_FALSE(table.openEvents(*two, "e2"));
}

TEST(SessionTable, RemovedSessionLeavesNothing) {
  SessionTable table;
  Session* session = table.add("control", One);
  table.openEvents(*session, "events");
  const std::uint64_t number = session->number;
  table.remove(number);
  table.remove(number);
  EXPECT_EQ(table.find(number), nullptr);
  EXPECT_EQ(table.findByPeer("control"), nullptr);
  EXPECT_EQ(table.findByPeer("events"), nullptr);
  EXPECT_NE(table.add("control", Two), nullptr);
}

TEST(Credit, CountsWhatIsSentAndNotAcknowledged) {
  Credit credit(100);
  credit.sent(30);
  EXPECT_EQ(credit.onItsWay(), 30U);
  credit.acknowledge(120);
  EXPECT_EQ(credit.onItsWay(), 10U);
  credit.acknowledge(110);
  EXPECT_EQ(credit.onItsWay(), 10U) << "what was acknowledged stays so";
  credit.acknowledge(131);
  EXPECT_EQ(credit.onItsWay(), 10U) << "more than was sent";
  credit.acknowledge(130);
  EXPECT_EQ(credit.onItsWay(), 0U);
}

}  // namespace
}  // namespace host
