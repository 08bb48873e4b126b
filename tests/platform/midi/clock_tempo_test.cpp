#include "platform/midi/clock_tempo.h"

#include <gtest/gtest.h>

#include <limits>

namespace midi {
namespace {

using namespace std::chrono_literals;
using device::Time;

// Ticks of a quarter note of 24 times interval.
std::optional<double> feed(ClockTempo& tempo, Time& now, Time interval, int count) {
  std::optional<double> bpm;
  for (int i = 0; i < count; ++i) {
    bpm = tempo.add(now);
    now += interval;
  }
  return bpm;
}

TEST(ClockTempo, NeedsTwentyFourIntervals) {
  ClockTempo tempo;
  Time now = 5s;
  for (int i = 0; i < 24; ++i) EXPECT_EQ(feed(tempo, now, 20'833'333ns, 1), std::nullopt) << i;
  const auto bpm = feed(tempo, now, 20'833'333ns, 1);
  ASSERT_TRUE(bpm);
  EXPECT_NEAR(*bpm, 120, 0.001);
}

TEST(ClockTempo, LateMessagesDoNotMatter) {
  ClockTempo tempo;
  Time now = 0ns;
  for (int i = 0; i < 100; ++i) {
    const Time late = i % 6 == 0 ? 9ms : 0ms;
    const auto bpm = tempo.add(now + late);
    if (i >= 24) {
      ASSERT_TRUE(bpm);
      EXPECT_NEAR(*bpm, 120, 0.001) << i;
    }
    now += 20'833'333ns;
  }
}

TEST(ClockTempo, IsTheMeanOfTheTwoInTheMiddle) {
  ClockTempo tempo;
  Time now = 1s;
  feed(tempo, now, 10ms, 12);
  const auto bpm = feed(tempo, now, 30ms, 13);
  ASSERT_TRUE(bpm);
  EXPECT_NEAR(*bpm, 125, 0.001) << "of 20 ms";
}

TEST(ClockTempo, FollowsAChange) {
  ClockTempo tempo;
  Time now = 0ns;
  feed(tempo, now, 20ms, 30);
  EXPECT_NEAR(feed(tempo, now, 10ms, 12).value_or(0), 125, 0.001) << "11 of 24 are new";
  EXPECT_NEAR(feed(tempo, now, 10ms, 2).value_or(0), 250, 0.001) << "13 of 24 are new";
}

TEST(ClockTempo, APauseBeginsAnew) {
  ClockTempo tempo;
  Time now = 0ns;
  EXPECT_TRUE(feed(tempo, now, 20ms, 25));
  now += 979'999'999ns;
  EXPECT_TRUE(feed(tempo, now, 20ms, 1)) << "almost a second later";
  now += 980ms;
  EXPECT_EQ(feed(tempo, now, 20ms, 24), std::nullopt);
  EXPECT_NEAR(feed(tempo, now, 20ms, 1).value_or(0), 125, 0.001);
}

TEST(ClockTempo, ATimeThatGoesBackBeginsAnew) {
  ClockTempo tempo;
  Time now = 10s;
  EXPECT_TRUE(feed(tempo, now, 20ms, 25));
  now = 2s;
  EXPECT_EQ(feed(tempo, now, 20ms, 24), std::nullopt);
  EXPECT_TRUE(feed(tempo, now, 20ms, 1));
}

TEST(ClockTempo, SharedTimesAreSpreadEvenly) {
  ClockTempo tempo;
  Time now = 0ns;
  std::optional<double> bpm;
  // 300 a minute: 8.33 ms apart, of which two come with one time.
  for (int i = 0; i < 60; ++i) {
    bpm = tempo.add(now);
    if (i % 2 == 1) now += 16'666'667ns;
  }
  EXPECT_NEAR(bpm.value_or(0), 300, 0.01);
}

TEST(ClockTempo, TakesAnyTimes) {
  ClockTempo tempo;
  for (int i = 0; i < 50; ++i) EXPECT_EQ(tempo.add(7ns), std::nullopt) << "one moment has no tempo";
  EXPECT_EQ(tempo.add(8ns), std::nullopt) << "nor have intervals of nothing";
  for (const Time time : {Time::min(), Time::max(), Time(-1), Time::max(), Time::min()}) {
    EXPECT_EQ(tempo.add(time), std::nullopt);
  }
}

}  // namespace
}  // namespace midi
