#include "platform/midi/player.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/midi/smf_maker.h"

namespace midi {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// Three messages in a second, the last at 600 ms.
Score sample() {
  return {{{0ms, 1, fromHex("90 01 01")}, {200ms, 2, fromHex("C0 05")}, {600ms, 0, fromHex("F8")}}, 1s};
}

struct Played {
  device::Time time;
  std::uint16_t group;
  std::string bytes;
  friend bool operator==(const Played&, const Played&) = default;
};

// Runs the player from due time to due time until end, as a caller that is always on time.
std::vector<Played> play(Player& player, device::Time end, std::size_t most = 1'000'000) {
  std::vector<Played> played;
  while (played.size() < most) {
    const auto due = player.due();
    if (!due || *due > end) break;
    const auto message = player.next(*due);
    if (!message) {
      ADD_FAILURE() << "a message was due and did not come";
      break;
    }
    played.push_back({*due, message->group, toHex({message->bytes.begin(), message->bytes.end()})});
  }
  return played;
}

std::vector<device::Time> times(const std::vector<Played>& played) {
  std::vector<device::Time> result;
  for (const Played& one : played) result.push_back(one.time);
  return result;
}

TEST(ScorePlayer, IsSilentUntilStarted) {
  const auto player = makePlayer(ScorePlayback{sample(), true, 1});
  EXPECT_EQ(player->due(), std::nullopt);
  EXPECT_FALSE(player->next(1h));
}

TEST(ScorePlayer, PlaysOnceInTimeWithoutALoop) {
  const auto player = makePlayer(ScorePlayback{sample(), false, 1});
  player->start(5s);
  EXPECT_FALSE(player->next(5s - 1ns));
  EXPECT_EQ(play(*player, 1h), (std::vector<Played>{{5s, 1, "90 01 01"}, {5200ms, 2, "C0 05"}, {5600ms, 0, "F8"}}));
  EXPECT_EQ(player->due(), std::nullopt);
  EXPECT_FALSE(player->next(2h));
}

TEST(ScorePlayer, IgnoresASecondStart) {
  const auto player = makePlayer(ScorePlayback{sample(), false, 1});
  player->start(5s);
  play(*player, 5100ms);
  player->start(5100ms);
  EXPECT_EQ(player->due(), 5200ms);
  play(*player, 1h);
  player->start(2h);
  EXPECT_EQ(player->due(), std::nullopt);
}

TEST(ScorePlayer, RepeatsALoopAfterTheLengthOfTheScore) {
  const auto player = makePlayer(ScorePlayback{sample(), true, 1});
  player->start(0s);
  EXPECT_THAT(times(play(*player, 2500ms)), ElementsAre(0ms, 200ms, 600ms, 1000ms, 1200ms, 1600ms, 2000ms, 2200ms));
}

TEST(ScorePlayer, DividesTimesByTheSpeed) {
  const auto fast = makePlayer(ScorePlayback{sample(), true, 40});
  fast->start(1s);
  EXPECT_THAT(times(play(*fast, 1s + 45ms)), ElementsAre(1000ms, 1005ms, 1015ms, 1025ms, 1030ms, 1040ms));
  const auto slow = makePlayer(ScorePlayback{sample(), true, 0.5});
  slow->start(0s);
  EXPECT_THAT(times(play(*slow, 2400ms)), ElementsAre(0ms, 400ms, 1200ms, 2000ms, 2400ms));
}

TEST(ScorePlayer, WithoutPausesPlaysAllAtOnceInOrder) {
  const auto player = makePlayer(ScorePlayback{sample(), false, 0});
  player->start(3s);
  const auto played = play(*player, 3s);
  ASSERT_EQ(played.size(), 3U);
  EXPECT_EQ(played[1].bytes, "C0 05");
  EXPECT_EQ(player->due(), std::nullopt);

  const auto endless = makePlayer(ScorePlayback{sample(), true, 0});
  endless->start(3s);
  EXPECT_EQ(play(*endless, 3s, 10'000).size(), 10'000U);
  EXPECT_LE(*endless->due(), 3s);
}

TEST(ScorePlayer, DoesNotDriftOverHoursOfALoop) {
  Score score = sample();
  score.length = 1001ms;
  const auto player = makePlayer(ScorePlayback{score, true, 1});
  player->start(7ns);
  const auto played = play(*player, 12h);
  ASSERT_EQ(played.size(), 43157U * 3);
  EXPECT_EQ(played[43156 * 3].time, 43156 * 1001ms + 7ns);
}

TEST(ScorePlayer, DoesNotSpinOnAScoreWithoutLength) {
  const auto player = makePlayer(ScorePlayback{{{{0ms, 0, fromHex("F8")}}, 0ms}, true, 1});
  player->start(0s);
  EXPECT_THAT(times(play(*player, 3ms)), ElementsAre(0ms, 1ms, 2ms, 3ms));
}

TEST(ScorePlayer, HasNothingToDoForAnEmptyScore) {
  for (const double speed : {0.0, 1.0}) {
    const auto player = makePlayer(ScorePlayback{{{}, 1s}, true, speed});
    player->start(0s);
    EXPECT_EQ(player->due(), std::nullopt);
    EXPECT_FALSE(player->next(1h));
  }
}

TEST(ScorePlayer, CatchesUpAndKeepsItsRhythmWhenItIsALittleLate) {
  const auto player = makePlayer(ScorePlayback{sample(), true, 1});
  player->start(0s);
  int count = 0;
  while (player->next(900ms)) ++count;
  EXPECT_EQ(count, 3);
  EXPECT_EQ(player->due(), 1000ms);
}

TEST(ScorePlayer, ContinuesWhereItWasAfterALongPause) {
  const auto player = makePlayer(ScorePlayback{sample(), true, 1});
  player->start(0s);
  play(*player, 100ms);
  // The machine sleeps for an hour. The second message comes now, the third 400 ms later.
  const auto message = player->next(1h);
  ASSERT_TRUE(message);
  EXPECT_EQ(toHex({message->bytes.begin(), message->bytes.end()}), "C0 05");
  EXPECT_FALSE(player->next(1h));
  EXPECT_EQ(player->due(), 1h + 400ms);
}

TEST(ClockPlayer, BeatsTwentyFourTimesAQuarter) {
  const auto player = makePlayer(ClockPlayback{120});
  EXPECT_EQ(player->due(), std::nullopt);
  player->start(1s);
  player->start(2s);
  const auto played = play(*player, 2s);
  ASSERT_EQ(played.size(), 49U);
  EXPECT_EQ(played.front(), (Played{1s, 0, "F8"}));
  EXPECT_EQ(played[1].time, 1s + 20833333ns);
  EXPECT_EQ(played[24].time, 1500ms);
  EXPECT_EQ(played[48].time, 2s);
}

TEST(ClockPlayer, HasTheIntervalOfEachTempo) {
  const struct {
    double beatsPerMinute;
    std::size_t inAMinute;
  } table[] = {{60, 1441}, {90, 2161}, {61.5, 1477}, {300, 7201}, {0.5, 13}, {0.01, 1}};
  for (const auto& row : table) {
    const auto player = makePlayer(ClockPlayback{row.beatsPerMinute});
    player->start(0s);
    EXPECT_EQ(play(*player, 1min).size(), row.inAMinute) << row.beatsPerMinute;
  }
}

TEST(ClockPlayer, DoesNotDriftOverHours) {
  const auto player = makePlayer(ClockPlayback{120});
  player->start(0s);
  const auto played = play(*player, 5h);
  ASSERT_EQ(played.size(), 48U * 3600 * 5 + 1);
  EXPECT_EQ(played.back().time, 5h);
}

TEST(ClockPlayer, SkipsMissedBeatsAfterALongPause) {
  const auto player = makePlayer(ClockPlayback{120});
  player->start(0s);
  play(*player, 1s);
  int count = 0;
  while (player->next(1h + 1ms)) ++count;
  EXPECT_EQ(count, 1);
  EXPECT_EQ(player->due(), 1h + 20833333ns);
}

TEST(ClockPlayer, CatchesUpWhenItIsALittleLate) {
  const auto player = makePlayer(ClockPlayback{120});
  player->start(0s);
  int count = 0;
  while (player->next(1s)) ++count;
  EXPECT_EQ(count, 49);
}

}  // namespace
}  // namespace midi
