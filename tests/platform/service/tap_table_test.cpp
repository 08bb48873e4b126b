#include "platform/service/tap_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "tests/platform/service/device.h"

namespace service {
namespace {

constexpr ClientId Ann{1};
constexpr ClientId Ben{2};
constexpr EventPortId First{1};
constexpr EventPortId Second{2};

using Ports = std::vector<device::PortId>;

constexpr std::size_t All = std::numeric_limits<std::size_t>::max();

Ports sorted(Ports ports) {
  std::ranges::sort(ports);
  return ports;
}

TEST(TapTable, SameTapTwiceIsOneWithTheFirstHolder) {
  TapTable taps;
  EXPECT_TRUE(taps.add(Ann, First, out(0, 0), 100, "p"));
  EXPECT_FALSE(taps.add(Ann, First, out(0, 0), 200, "p"));
  ASSERT_EQ(taps.of(out(0, 0)).size(), 1U);
  EXPECT_EQ(taps.of(out(0, 0))[0].holderBytes, 100U);
  EXPECT_EQ(taps.tappedBy(Ann, First), Ports{out(0, 0)});
}

TEST(TapTable, TapsOfAPortAreInTheOrderOfTapping) {
  TapTable taps;
  taps.add(Ben, Second, in(0, 0), 1, "p");
  taps.add(Ann, First, in(0, 0), 2, "p");
  taps.add(Ann, Second, in(0, 0), 3, "p");
  taps.add(Ben, First, in(0, 0), 4, "p");
  std::vector<std::uint32_t> holders;
  for (const Tap& tap : taps.of(in(0, 0))) holders.push_back(tap.holderBytes);
  EXPECT_EQ(holders, (std::vector<std::uint32_t>{1, 2, 3, 4}));
}

TEST(TapTable, TappedPortsAreInTheOrderOfTapping) {
  TapTable taps;
  for (const device::PortId port : {in(1, 0), out(0, 0), in(0, 7)}) taps.add(Ann, First, port, 0, "p");
  taps.remove(Ann, First, in(1, 0));
  taps.add(Ann, First, in(1, 0), 0, "p");
  EXPECT_EQ(taps.tappedBy(Ann, First), (Ports{out(0, 0), in(0, 7), in(1, 0)}));
}

TEST(TapTable, RemovingAnUnknownTapChangesNothing) {
  TapTable taps;
  taps.add(Ann, First, out(0, 0), 0, "p");
  EXPECT_FALSE(taps.remove(Ann, First, in(0, 0)));
  EXPECT_FALSE(taps.remove(Ann, Second, out(0, 0)));
  EXPECT_FALSE(taps.remove(Ben, First, out(0, 0)));
  taps.removeAll(Ann, Second);
  taps.removeClient(Ben);
  EXPECT_FALSE(taps.hasEnded());
  EXPECT_EQ(taps.sweep(All), Ports());
  EXPECT_EQ(taps.of(out(0, 0)).size(), 1U);
  EXPECT_TRUE(taps.remove(Ann, First, out(0, 0)));
  EXPECT_FALSE(taps.remove(Ann, First, out(0, 0)));
  EXPECT_TRUE(taps.of(out(0, 0)).empty());
}

TEST(TapTable, EndingAnEventPortsTapsLeavesTheOthers) {
  TapTable taps;
  taps.add(Ann, First, out(0, 0), 0, "p");
  taps.add(Ann, First, out(0, 1), 0, "p");
  taps.add(Ann, Second, out(0, 1), 0, "p");
  taps.add(Ben, First, out(0, 0), 0, "p");
  taps.add(Ann, First, out(0, 2), 0, "p");
  taps.removeAll(Ann, First);
  EXPECT_EQ(taps.sweep(All), Ports{out(0, 2)});
  EXPECT_EQ(taps.tappedBy(Ann, First), Ports());
  EXPECT_EQ(taps.tappedBy(Ann, Second), Ports{out(0, 1)});
  EXPECT_EQ(taps.tappedBy(Ben, First), Ports{out(0, 0)});
}

TEST(TapTable, EndingAClientsTapsNamesEachFreedPortOnce) {
  TapTable taps;
  taps.add(Ann, First, out(0, 0), 0, "p");
  taps.add(Ann, Second, out(0, 0), 0, "p");
  taps.add(Ann, EventPortId{0xFFFFFFFF}, out(0, 1), 0, "p");
  taps.add(Ann, First, out(0, 2), 0, "p");
  taps.add(Ben, First, out(0, 2), 0, "p");
  taps.add(ClientId{0}, First, out(0, 3), 0, "p");
  taps.removeClient(Ann);
  EXPECT_EQ(sorted(taps.sweep(All)), (Ports{out(0, 0), out(0, 1)}));
  EXPECT_EQ(taps.of(out(0, 2)).size(), 1U);
  EXPECT_EQ(taps.tappedBy(Ann, First), Ports());
  EXPECT_EQ(taps.tappedBy(ClientId{0}, First), Ports{out(0, 3)});
}

TEST(TapTable, TapsMoveToAnotherPort) {
  TapTable taps;
  taps.add(Ann, First, out(0, 0), 1, "p");
  taps.add(Ann, First, out(1, 0), 2, "q");
  taps.add(Ben, First, out(0, 0), 3, "p");
  taps.add(Ben, First, out(7, 0), 4, "p");
  EXPECT_EQ(taps.move(out(0, 0), out(7, 0), All), 2U);
  EXPECT_EQ(taps.name(out(0, 0)), nullptr);
  ASSERT_NE(taps.name(out(7, 0)), nullptr);
  EXPECT_EQ(*taps.name(out(7, 0)), "p");
  EXPECT_EQ(taps.of(out(7, 0)).size(), 2U) << "Ben has tapped both";
  EXPECT_EQ(taps.tappedBy(Ann, First), (Ports{out(7, 0), out(1, 0)})) << "in the order of tapping";
  EXPECT_EQ(taps.tappedBy(Ben, First), Ports{out(7, 0)});
  EXPECT_EQ(taps.count(Ben), 1U);
  EXPECT_TRUE(taps.isTapped(out(1, 0)));
  EXPECT_FALSE(taps.isTapped(out(0, 0)));
  EXPECT_EQ(taps.move(out(9, 9), out(1, 0), All), 0U);
  EXPECT_EQ(taps.of(out(1, 0)).size(), 1U);
}

}  // namespace
}  // namespace service
