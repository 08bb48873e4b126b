// What a queue has no room for, or what was lost before it.
#include <gtest/gtest.h>

#include "tests/platform/service/queue.h"

namespace service {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

TEST(TapQueue, LossBeforeAMessageIsReportedInItsPlace) {
  Queue q;
  q.add({0x90, 1, 1});
  q.queue.addLossBefore(3);
  q.queue.addLossBefore(4);
  q.add({0x90, 2, 1});
  q.queue.addLossBefore(5);
  q.queue.addLossBefore(0);
  q.queue.addLossBefore(6);
  EXPECT_FALSE(q.queue.empty());
  EXPECT_EQ(textsOf(q.take()),
            (Texts{"1 G0Out1: 90 01 01", "lost before 7", "1 G0Out1: 90 02 01", "lost before 11", "lost before 0"}));
  EXPECT_TRUE(q.queue.empty());
  EXPECT_EQ(q.queue.lost(), 0U) << "not for want of room";
}

TEST(TapQueue, FullQueueKeepsBothKindsOfLoss) {
  Queue q(NoteCost);
  q.add({0x90, 1, 1});
  q.add({0x90, 2, 1}, milliseconds(40));
  q.queue.addLossBefore(2);
  q.add({0x90, 3, 1}, milliseconds(80));
  EXPECT_EQ(q.queue.bytes(), NoteCost);
  EXPECT_EQ(textsOf(q.take(1)), Texts{"1 G0Out1: 90 01 01"});
  EXPECT_EQ(textsOf(q.take(1)), Texts{"lost 2"});
  EXPECT_EQ(textsOf(q.take(1)), Texts{"lost before 2"});
  EXPECT_TRUE(q.queue.empty());
}

TEST(TapQueue, LossIsExactAndReportedInItsPlace) {
  Queue q(3 * NoteCost);
  const auto note = [&](std::uint8_t number) { q.add({0x90, number, 1}, milliseconds(20 * number)); };
  for (std::uint8_t i = 1; i <= 10; ++i) note(i);
  EXPECT_EQ(q.queue.bytes(), 3 * NoteCost);
  EXPECT_EQ(q.queue.lost(), 7U);
  // Room for one event, but not for the loss in front of it.
  EXPECT_EQ(textsOf(q.take(0)), Texts{"1 G0Out1: 90 01 01"});
  note(11);
  EXPECT_EQ(textsOf(q.take(0)), Texts{"1 G0Out1: 90 02 01"});
  note(12);
  note(13);
  EXPECT_EQ(textsOf(q.take()), (Texts{"1 G0Out1: 90 03 01", "lost 8", "1 G0Out1: 90 0C 01", "lost 1"}));
  EXPECT_TRUE(q.queue.empty());
  note(14);
  EXPECT_EQ(textsOf(q.take()), Texts{"1 G0Out1: 90 0E 01"});
  EXPECT_EQ(q.queue.lost(), 9U);
}

TEST(TapQueue, LossIsReportedWhenAllIsReadAndNothingFollows) {
  Queue q(NoteCost);
  q.add({0x90, 1, 1});
  q.add({0x90, 2, 1});
  EXPECT_EQ(textsOf(q.take(1)), Texts{"1 G0Out1: 90 01 01"});
  EXPECT_FALSE(q.queue.empty());
  EXPECT_EQ(textsOf(q.take(1)), Texts{"lost 1"});
  EXPECT_TRUE(q.queue.empty());
}

TEST(TapQueue, RecordAfterALossDoesNotJoinTheEventBeforeIt) {
  Queue q(2 * EventCost + 30);
  q.add({0x90, 1, 1});
  q.add(Bytes(60, 0xF8));
  q.add({0x90, 3, 1});
  EXPECT_EQ(textsOf(q.take()), (Texts{"1 G0Out1: 90 01 01", "lost 2"}));

  Queue roomy(3 * EventCost + 30);
  roomy.add({0x90, 1, 1});
  roomy.add(Bytes(200, 0xF8));
  roomy.add({0x90, 3, 1});
  roomy.add({0x90, 4, 1});
  EXPECT_EQ(textsOf(roomy.take()), (Texts{"1 G0Out1: 90 01 01", "lost 1", "1 G0Out1: 90 03 01", "1 G0Out1: 90 04 01"}));
}

TEST(TapQueue, DroppedEventsAreALossBeforeWhatRemains) {
  Queue q;
  const auto note = [&](std::uint8_t number, int at) { q.add({0x90, number, 1}, milliseconds(20 * at)); };
  note(1, 1);
  note(2, 1);
  note(3, 2);
  q.queue.addLossBefore(5);
  note(4, 3);
  EXPECT_EQ(q.queue.accepted(), 4U);
  q.queue.dropOldest(1);
  EXPECT_EQ(q.queue.lost(), 4U) << "so few events stand in one chunk of memory";
  EXPECT_EQ(q.queue.accepted(), 0U);
  EXPECT_EQ(q.queue.memory(), 0U);
  EXPECT_FALSE(q.queue.hasEvents());
  EXPECT_FALSE(q.queue.empty());
  note(5, 4);
  EXPECT_EQ(textsOf(q.take()), (Texts{"lost 4", "lost before 5", "1 G0Out1: 90 05 01"}));
  EXPECT_TRUE(q.queue.empty());
  q.queue.dropOldest(1);
  EXPECT_TRUE(q.queue.empty());
}

// Numbered messages, some of which find no room, some of which are dropped later; and losses before the service. Each
// number is read or lies in a loss of the right size and place.
TEST(TapQueue, EveryMessageIsReadOrLostInItsPlaceHoweverMuchIsDropped) {
  std::uint32_t random = 1;
  const auto chance = [&](std::uint32_t of) {
    random = random * 1664525U + 1013904223U;
    return (random >> 8U) % of == 0;
  };
  Queue q(60'000);
  std::uint32_t sent = 0;
  std::uint32_t next = 0;
  std::uint64_t lost = 0;
  std::uint64_t before = 0;
  std::uint64_t expectedBefore = 0;
  const auto read = [&](const std::vector<Received>& all) {
    for (const Received& one : all) {
      if (one.lostBefore) {
        before += *one.lostBefore;
      } else if (one.lost > 0) {
        lost += one.lost;
        next += static_cast<std::uint32_t>(one.lost);
      } else {
        const Bytes& bytes = one.message;
        ASSERT_EQ(bytes[1] << 16U | bytes[2] << 8U | bytes[3], next);
        ++next;
      }
    }
  };
  for (int turn = 0; turn < 100'000; ++turn) {
    q.add({0xF0, static_cast<std::uint8_t>(sent >> 16U), static_cast<std::uint8_t>(sent >> 8U),
           static_cast<std::uint8_t>(sent)},
          microseconds(100 * turn), out(0, chance(3) ? 1 : 0));
    ++sent;
    if (chance(50)) {
      q.queue.addLossBefore(3);
      expectedBefore += 3;
    }
    if (chance(100)) q.queue.dropOldest(chance(5) ? 1'000'000 : 5'000);
    if (chance(80)) read(q.take(3'000));
  }
  read(q.take());
  EXPECT_EQ(next, sent);
  EXPECT_EQ(before, expectedBefore);
  EXPECT_EQ(lost, q.queue.lost());
  EXPECT_EQ(q.queue.accepted() + q.queue.lost(), sent);
  EXPECT_GT(q.queue.accepted(), 10'000U);
  EXPECT_GT(q.queue.lost(), 1'000U);
  EXPECT_EQ(q.queue.memory(), 0U);
}

TEST(TapQueue, MessageLargerThanTheQueueIsLost) {
  Queue q(1000);
  q.add(Bytes(1000 - EventCost - 6, 0xF0));
  EXPECT_EQ(q.take().at(0).message.size(), 970U);
  q.add(Bytes(1000 - EventCost - 6 + 1, 0xF0));
  EXPECT_EQ(textsOf(q.take()), Texts{"lost 1"});
}

TEST(TapQueue, QueueOfNoSizeLosesEverything) {
  Queue q(0);
  q.add(Note);
  q.add(Note);
  EXPECT_EQ(textsOf(q.take()), Texts{"lost 2"});
}

TEST(TapQueue, FloodStaysWithinTheLimit) {
  constexpr std::size_t Limit = 100'000;
  Queue q(Limit);
  std::uint64_t received = 0;
  std::uint64_t lost = 0;
  const auto count = [&](const std::vector<Received>& all) {
    for (const Received& one : all) {
      lost += one.lost;
      if (one.lost == 0) ++received;
    }
  };
  for (std::uint32_t i = 0; i < 200'000; ++i) {
    q.add(Bytes(1 + i % 50, 0xF8), device::Time(i * 1000), out(0, i % 3 == 0 ? 1 : 0));
    ASSERT_LE(q.queue.bytes(), Limit);
    if (i % 100 == 0) count(q.take(500));
  }
  count(q.take());
  EXPECT_EQ(received + lost, 200'000U);
  EXPECT_EQ(lost, q.queue.lost());
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(q.queue.bytes(), 0U);
}

}  // namespace
}  // namespace service
