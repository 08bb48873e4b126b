#include "platform/host/newcomers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace host {
namespace {

using device::Time;

constexpr Time Begin = std::chrono::hours(1);

TEST(Newcomers, EachHasItsTime) {
  Newcomers newcomers;
  newcomers.enter(ConnectionId{1}, Begin);
  newcomers.enter(ConnectionId{2}, Begin + Time(5));
  newcomers.enter(ConnectionId{3}, Begin + Time(7));
  newcomers.leave(ConnectionId{2});
  EXPECT_EQ(newcomers.next(), Begin + Newcomers::Patience);
  EXPECT_EQ(newcomers.overdue(Begin + Newcomers::Patience - Time(1)), std::nullopt);
  EXPECT_EQ(newcomers.overdue(Begin + Newcomers::Patience), ConnectionId{1});
  EXPECT_EQ(newcomers.overdue(Begin + Newcomers::Patience), std::nullopt);
  EXPECT_EQ(newcomers.next(), Begin + Newcomers::Patience + Time(7));
  newcomers.leave(ConnectionId{3});
  EXPECT_EQ(newcomers.next(), std::nullopt);
  EXPECT_EQ(newcomers.overdue(Begin + std::chrono::hours(1)), std::nullopt);
}

TEST(Newcomers, OldestGoesWhenThereAreTooMany) {
  Newcomers newcomers;
  for (std::uint64_t i = 1; i <= Newcomers::Most; ++i) newcomers.enter(ConnectionId{i}, Begin);
  EXPECT_EQ(newcomers.overdue(Begin), std::nullopt);
  newcomers.enter(ConnectionId{Newcomers::Most + 1}, Begin);
  EXPECT_EQ(newcomers.overdue(Begin), ConnectionId{1});
  EXPECT_EQ(newcomers.overdue(Begin), std::nullopt);
  newcomers.leave(ConnectionId{2});
  newcomers.enter(ConnectionId{Newcomers::Most + 2}, Begin);
  EXPECT_EQ(newcomers.overdue(Begin), std::nullopt) << "one has left";
}

TEST(Newcomers, OneThatHasLeftMayComeAgain) {
  Newcomers newcomers;
  newcomers.enter(ConnectionId{1}, Begin);
  newcomers.leave(ConnectionId{1});
  newcomers.enter(ConnectionId{1}, Begin + Time(9));
  EXPECT_EQ(newcomers.overdue(Begin + Newcomers::Patience), std::nullopt);
  EXPECT_EQ(newcomers.overdue(Begin + Newcomers::Patience + Time(9)), ConnectionId{1});
}

}  // namespace
}  // namespace host
