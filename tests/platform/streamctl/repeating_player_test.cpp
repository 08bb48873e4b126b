#include "platform/streamctl/repeating_player.h"

#include <gtest/gtest.h>

#include <limits>

namespace streamctl {
namespace {

using namespace std::chrono_literals;
using device::Time;

// How many messages the player has at now.
std::uint64_t drain(midi::Player& player, Time now) {
  std::uint64_t count = 0;
  while (player.next(now)) ++count;
  return count;
}

TEST(RepeatingPlayer, WithoutARateAllMessagesAreDueAtTheStart) {
  const auto player = makeRepeatingPlayer({5, {0x90, 1, 2}, 3, std::nullopt});
  EXPECT_FALSE(player->due());
  EXPECT_FALSE(player->next(10s));
  player->start(10s);
  EXPECT_EQ(player->due(), 10s);
  const auto message = player->next(10s);
  ASSERT_TRUE(message);
  EXPECT_EQ(message->group, 5);
  EXPECT_EQ(std::vector<std::uint8_t>(message->bytes.begin(), message->bytes.end()),
            (std::vector<std::uint8_t>{0x90, 1, 2}));
  EXPECT_EQ(drain(*player, 10s), 2U);
  EXPECT_FALSE(player->due());
}

TEST(RepeatingPlayer, EachMessageIsDueAtItsMultipleOfThePeriod) {
  const auto player = makeRepeatingPlayer({0, {0xF8}, 100, 3.0});
  player->start(1s);
  EXPECT_EQ(drain(*player, 1s), 1U);
  EXPECT_EQ(player->due(), 1s + 333'333'333ns);
  EXPECT_EQ(drain(*player, 1s + 333'333'332ns), 0U);
  EXPECT_EQ(drain(*player, 1s + 333'333'333ns), 1U);
  // A little late: those that were missed come at once, and the next is where it would have been.
  EXPECT_EQ(drain(*player, 2s), 2U);
  EXPECT_EQ(player->due(), 2s + 333'333'333ns);
}

TEST(RepeatingPlayer, GoesOnFromThePresentAfterALongPause) {
  const auto player = makeRepeatingPlayer({0, {0xF8}, 100, 10.0});
  player->start(0s);
  EXPECT_EQ(drain(*player, 0s), 1U);
  EXPECT_EQ(drain(*player, 60s), 1U);
  EXPECT_EQ(player->due(), 60s + 100ms);
}

TEST(RepeatingPlayer, TakesTheSlowestAndTheFastestRate) {
  const auto slow = makeRepeatingPlayer({0, {1}, 3, std::numeric_limits<double>::denorm_min()});
  slow->start(1s);
  EXPECT_EQ(drain(*slow, 1s), 1U);
  EXPECT_GT(slow->due(), 1'000'000s);
  const auto fast = makeRepeatingPlayer({0, {1}, 1000, std::numeric_limits<double>::max()});
  fast->start(1s);
  EXPECT_EQ(drain(*fast, 1s), 1000U);
}

}  // namespace
}  // namespace streamctl
