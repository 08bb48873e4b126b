#include "platform/host/session_table.h"

#include <gtest/gtest.h>

namespace host {
namespace {

constexpr service::ClientId One{1};
constexpr service::ClientId Two{2};

constexpr ConnectionId Control{1};
constexpr ConnectionId Events{2};
constexpr ConnectionId Graph{3};

TEST(SessionTable, FindsByNumberAndByAnyConnection) {
  SessionTable table;
  Session* session = table.add(Control, One);
  ASSERT_NE(session, nullptr);
  EXPECT_TRUE(table.openEvents(*session, Events));
  EXPECT_TRUE(table.openGraph(*session, Graph));
  EXPECT_EQ(table.find(session->number), session);
  for (const ConnectionId each : {Control, Events, Graph}) EXPECT_EQ(table.findByConnection(each), session);
  EXPECT_EQ(table.findByConnection(ConnectionId{9}), nullptr);
  EXPECT_EQ(table.find(session->number + 1), nullptr);
}

TEST(SessionTable, ConnectionBelongsToOneSession) {
  SessionTable table;
  Session* one = table.add(ConnectionId{4}, One);
  Session* two = table.add(ConnectionId{5}, Two);
  ASSERT_NE(two, nullptr);
  EXPECT_EQ(table.add(ConnectionId{4}, Two), nullptr);
  EXPECT_FALSE(table.openEvents(*two, ConnectionId{4}));
  EXPECT_TRUE(table.openEvents(*two, ConnectionId{6}));
  EXPECT_FALSE(table.openGraph(*one, ConnectionId{6}));
  EXPECT_FALSE(table.openEvents(*two, ConnectionId{7}));
}

TEST(SessionTable, RemovedSessionLeavesNothing) {
  SessionTable table;
  Session* session = table.add(Control, One);
  table.openEvents(*session, Events);
  const std::uint64_t number = session->number;
  table.remove(number);
  table.remove(number);
  EXPECT_EQ(table.find(number), nullptr);
  EXPECT_EQ(table.findByConnection(Control), nullptr);
  EXPECT_EQ(table.findByConnection(Events), nullptr);
  EXPECT_NE(table.add(Control, Two), nullptr);
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
