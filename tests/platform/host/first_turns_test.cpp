#include "platform/host/first_turns.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace host {
namespace {

std::vector<int> takeAll(FirstTurns& turns) {
  std::vector<int> taken;
  while (const auto connection = turns.take()) taken.push_back(static_cast<int>(*connection));
  return taken;
}

TEST(FirstTurns, OneProcessIsServedInTheOrderOfArrival) {
  FirstTurns turns;
  EXPECT_TRUE(turns.empty());
  for (std::uint64_t i = 1; i <= 3; ++i) EXPECT_TRUE(turns.enter(7, ConnectionId{i}));
  EXPECT_FALSE(turns.empty());
  EXPECT_EQ(takeAll(turns), (std::vector{1, 2, 3}));
  EXPECT_TRUE(turns.empty());
}

TEST(FirstTurns, AProcessDoesNotWaitForAllConnectionsOfAnother) {
  FirstTurns turns;
  for (std::uint64_t i = 1; i <= 4; ++i) turns.enter(7, ConnectionId{i});
  turns.enter(8, ConnectionId{5});
  turns.enter(0, ConnectionId{6});
  turns.enter(8, ConnectionId{7});
  EXPECT_EQ(takeAll(turns), (std::vector{1, 5, 6, 2, 7, 3, 4}));
}

TEST(FirstTurns, OnlySoManyOfOneProcessMayWait) {
  FirstTurns turns;
  for (std::uint64_t i = 1; i <= FirstTurns::Most; ++i) ASSERT_TRUE(turns.enter(7, ConnectionId{i}));
  EXPECT_FALSE(turns.enter(7, ConnectionId{90000}));
  EXPECT_TRUE(turns.enter(8, ConnectionId{90001}));
  EXPECT_EQ(turns.take(), ConnectionId{1});
  EXPECT_TRUE(turns.enter(7, ConnectionId{90002}));
  EXPECT_FALSE(turns.enter(7, ConnectionId{90003}));
}

}  // namespace
}  // namespace host
