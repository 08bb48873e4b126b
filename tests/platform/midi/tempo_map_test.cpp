#include "platform/midi/tempo_map.h"

#include <gtest/gtest.h>

namespace midi {
namespace {

using namespace std::chrono_literals;

TEST(TempoMap, WithoutChangesGivesAQuarterHalfASecond) {
  const TempoMap map(TimeBase::perQuarter(480), {});
  EXPECT_EQ(map.at(0), 0ns);
  EXPECT_EQ(map.at(1), 1041667ns);  // 1,041,666.67
  EXPECT_EQ(map.at(480), 500ms);
  EXPECT_EQ(map.at(480 * 120), 1min);
}

TEST(TempoMap, RoundsOnceAndDoesNotDrift) {
  const TempoMap map(TimeBase::perQuarter(7), {{0, 333'333}});
  EXPECT_EQ(map.at(7'000'000), 333'333'000'000us);
}

TEST(TempoMap, AppliesChangesFromTheirTick) {
  // Out of order, and two at one tick.
  const TempoMap map(TimeBase::perQuarter(96), {{192, 250'000}, {96, 1'000'000}, {288, 1}, {288, 2'000'000}});
  EXPECT_EQ(map.at(96), 500ms);
  EXPECT_EQ(map.at(144), 1000ms);
  EXPECT_EQ(map.at(192), 1500ms);
  EXPECT_EQ(map.at(288), 1750ms);
  EXPECT_EQ(map.at(384), 3750ms);
}

TEST(TempoMap, IgnoresTheTempoForFrames) {
  const struct {
    std::uint8_t frames;
    std::uint8_t ticks;
    std::uint32_t tick;
    device::Time time;
  } table[] = {
      {25, 40, 1000, 1s}, {24, 4, 96, 1s}, {30, 80, 2400, 1s}, {29, 10, 300, 1001ms}, {29, 1, 1, 33366667ns},
  };
  for (const auto& row : table) {
    const TempoMap map(TimeBase::perFrame(row.frames, row.ticks), {{0, 1'000'000}});
    EXPECT_EQ(map.at(row.tick), row.time) << int{row.frames};
  }
}

TEST(TempoMap, ReturnsNothingBeyondAYear) {
  const TempoMap slow(TimeBase::perQuarter(1), {{0, 0xFFFFFF}});
  EXPECT_EQ(slow.at(0x7FFFFFFF), std::nullopt);
  EXPECT_TRUE(slow.at(1'800'000).has_value());
  EXPECT_EQ(slow.at(1'900'000), std::nullopt);
}

}  // namespace
}  // namespace midi
