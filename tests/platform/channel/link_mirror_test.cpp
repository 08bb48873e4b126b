#include "platform/channel/link_mirror.h"

#include <gtest/gtest.h>

namespace channel {
namespace {

using Ports = std::vector<ServicePort>;

Ports copy(std::span<const ServicePort> ports) { return {ports.begin(), ports.end()}; }

TEST(LinkMirror, HoldsTheGraphBothWays) {
  LinkMirror mirror;
  mirror.reset({7, {{0, 0, 1, 0}, {0, 1, 1, 0}, {0, 0, 2, 5}}});
  EXPECT_EQ(mirror.version(), 7U);
  EXPECT_EQ(copy(mirror.sinksOf({0, 0})), (Ports{{1, 0}, {2, 5}}));
  EXPECT_EQ(copy(mirror.sinksOf({0, 1})), (Ports{{1, 0}}));
  EXPECT_EQ(copy(mirror.sourcesOf({1, 0})), (Ports{{0, 0}, {0, 1}}));
  EXPECT_EQ(copy(mirror.sourcesOf({0, 0})), Ports{});
  mirror.reset({1, {}});
  EXPECT_EQ(copy(mirror.sinksOf({0, 0})), Ports{});
  EXPECT_EQ(mirror.version(), 1U);
}

TEST(LinkMirror, FollowsChanges) {
  LinkMirror mirror;
  EXPECT_TRUE(mirror.apply({1, true, {0, 0, 1, 0}}));
  EXPECT_TRUE(mirror.apply({2, true, {0, 0, 1, 1}}));
  EXPECT_TRUE(mirror.apply({3, false, {0, 0, 1, 0}}));
  EXPECT_TRUE(mirror.apply({4, true, {0, 0, 1, 0}}));
  EXPECT_EQ(copy(mirror.sinksOf({0, 0})), (Ports{{1, 1}, {1, 0}}));
  EXPECT_EQ(copy(mirror.sourcesOf({1, 0})), (Ports{{0, 0}}));
  EXPECT_TRUE(mirror.apply({5, false, {9, 9, 9, 9}}));
  EXPECT_EQ(mirror.version(), 5U);
}

TEST(LinkMirror, IgnoresChangesThatItHasSeen) {
  LinkMirror mirror;
  mirror.reset({5, {{0, 0, 1, 0}}});
  EXPECT_TRUE(mirror.apply({5, true, {0, 0, 1, 0}}));
  EXPECT_TRUE(mirror.apply({4, false, {0, 0, 1, 0}}));
  EXPECT_EQ(copy(mirror.sinksOf({0, 0})), (Ports{{1, 0}}));
  EXPECT_EQ(mirror.version(), 5U);
}

TEST(LinkMirror, NoticesMissingChanges) {
  LinkMirror mirror;
  mirror.reset({5, {}});
  EXPECT_FALSE(mirror.apply({7, true, {0, 0, 1, 0}}));
  EXPECT_EQ(copy(mirror.sinksOf({0, 0})), Ports{});
  EXPECT_EQ(mirror.version(), 5U);
}

// Those end with the service; it is to be known which they were.
TEST(LinkMirror, KnowsTheConnectionsThatTheServiceCarries) {
  using Carried = std::set<LinkMirror::Ends>;
  LinkMirror mirror;
  mirror.reset({1, {{0, 0, 1, 0}, {5, 0, 6, 0, true}}});
  EXPECT_EQ(mirror.carried(), (Carried{{{5, 0}, {6, 0}}}));
  EXPECT_TRUE(mirror.apply({2, true, {5, 1, 6, 0, true}}));
  EXPECT_TRUE(mirror.apply({3, true, {0, 1, 1, 0}}));
  EXPECT_TRUE(mirror.apply({4, false, {5, 0, 6, 0}}));
  EXPECT_EQ(mirror.carried(), (Carried{{{5, 1}, {6, 0}}}));
  mirror.reset({5, {}});
  EXPECT_EQ(mirror.carried(), Carried{});
}

}  // namespace
}  // namespace channel
