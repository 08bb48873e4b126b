#include "platform/service/tap_queue.h"

#include <gtest/gtest.h>

#include "platform/service/service.h"
#include "tests/platform/service/queue.h"

namespace service {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

TEST(TapQueue, GivesRecordsInOrderWithAllThatBelongsToThem) {
  Queue q;
  q.queue.add(One, out(1, 2), "G1Out3", Holder, {7, Note}, device::Time(1'000'000'000));
  q.queue.add(Two, in(0, 0), "G0In1", Holder, {0, Bytes{0xF8}}, device::Time(1'000'000'001));
  const auto received = q.take();
  EXPECT_EQ(textsOf(received), (Texts{"1 G1Out3: 90 3C 40", "2 G0In1: F8"}));
  EXPECT_EQ(received[0].group, 7);
  EXPECT_EQ(received[0].time, 1'000'000'000U);
  EXPECT_EQ(received[1].time, 1'000'000'001U);
  EXPECT_TRUE(q.queue.empty());
  EXPECT_EQ(q.take().size(), 0U);
}

TEST(TapQueue, SequenceCountsEvents) {
  Queue q;
  for (std::uint8_t i = 0; i < 3; ++i) q.add({0x90, i, 1}, milliseconds(20 * i));
  const auto first = q.take();
  q.add(Note, milliseconds(100));
  const auto second = q.take();
  ASSERT_EQ(first.size(), 3U);
  EXPECT_EQ(first[0].sequence, 1U);
  EXPECT_EQ(first[2].sequence, 3U);
  EXPECT_EQ(second.at(0).sequence, 4U);
}

// Sizes in messages of one event after another, when messages of these lengths come at these times.
struct Sharing {
  const char* what;
  std::uint32_t holder;
  std::vector<std::pair<std::size_t, device::Time>> messages;
  std::vector<std::size_t> events;
};

TEST(TapQueue, RecordsShareAnEventWithinHolderAndTime) {
  const device::Time now = std::chrono::hours(24 * 365);
  const std::size_t tooLong = Holder - 20 - 6 + 1;
  const Sharing cases[] = {
      {"at once", Holder, {{3, now}, {3, now}, {1, now}}, {3}},
      {"up to ten milliseconds from the first", Holder, {{3, now}, {3, now + milliseconds(10)}}, {2}},
      {"and no later", Holder, {{3, now}, {3, now + milliseconds(10) + device::Time(1)}}, {1, 1}},
      {"from the first, not the one before",
       Holder,
       {{3, now}, {3, now + milliseconds(8)}, {3, now + milliseconds(16)}, {3, now + milliseconds(24)}},
       {2, 2}},
      {"up to the holder, header included", 20 + 2 * 9, {{3, now}, {3, now}, {3, now}}, {2, 1}},
      {"one byte short", 20 + 2 * 9 - 1, {{3, now}, {3, now}, {3, now}}, {1, 1, 1}},
      {"no holder", 0, {{3, now}, {3, now}}, {1, 1}},
      {"as long as the holder", Holder, {{tooLong - 1, now}, {1, now}}, {1, 1}},
      {"longer than the holder, alone", Holder, {{1, now}, {tooLong, now}, {1, now}, {1, now}}, {1, 1, 2}},
      {"much longer than the holder", Holder, {{1, now}, {70'000, now}, {1, now}}, {1, 1, 1}},
  };
  for (const Sharing& c : cases) {
    Queue q;
    for (const auto& [size, time] : c.messages) q.add(Bytes(size, 0xF8), time, out(0, 0), One, c.holder);
    const auto received = q.take();
    ASSERT_EQ(received.size(), c.messages.size()) << c.what;
    std::vector<std::size_t> events;
    for (std::size_t i = 0; i < received.size(); ++i) {
      if (i == 0 || received[i].sequence != received[i - 1].sequence) events.push_back(0);
      ++events.back();
      EXPECT_EQ(received[i].message.size(), c.messages[i].first) << c.what;
    }
    EXPECT_EQ(events, c.events) << c.what;
  }
}

TEST(TapQueue, AnotherTapInBetweenEndsAnEvent) {
  Queue q;
  q.add({0x90, 1, 1});
  q.add({0x90, 2, 1}, {}, out(0, 1));
  q.add({0x90, 3, 1});
  q.add({0x90, 4, 1}, {}, out(0, 0), Two);
  q.add({0x90, 5, 1}, {}, in(0, 0), Two);
  const auto received = q.take();
  EXPECT_EQ(textsOf(received), (Texts{"1 G0Out1: 90 01 01", "1 G0Out2: 90 02 01", "1 G0Out1: 90 03 01",
                                      "2 G0Out1: 90 04 01", "2 G0In1: 90 05 01"}));
  EXPECT_EQ(received[4].sequence, 5U);
}

TEST(TapQueue, AnEventThatWasTakenGrowsNoMore) {
  Queue q;
  q.add({0x90, 1, 1});
  EXPECT_EQ(q.take().size(), 1U);
  q.add({0x90, 2, 1});
  const auto received = q.take();
  EXPECT_EQ(textsOf(received), Texts{"1 G0Out1: 90 02 01"});
  EXPECT_EQ(received[0].sequence, 2U);
}

TEST(TapQueue, TakesWhatFitsButAtLeastOneEvent) {
  Queue q;
  for (int i = 0; i < 5; ++i) q.add(Note, milliseconds(20 * i));
  const std::size_t entry = wire::eventEntryBytes("G0Out1", 9);
  EXPECT_EQ(q.take(0).size(), 1U);
  EXPECT_EQ(q.take(2 * entry).size(), 2U);
  EXPECT_EQ(q.take(2 * entry - 1).size(), 1U);
  EXPECT_EQ(q.take(entry).size(), 1U);
  EXPECT_TRUE(q.queue.empty());
}

TEST(TapQueue, AppendsToWhatIsThere) {
  Queue q;
  q.add(Note);
  Bytes entries = {0xAA};
  const std::size_t appended = q.queue.take(Everything, entries);
  EXPECT_EQ(appended, entries.size() - 1);
  EXPECT_EQ(appended, wire::eventEntryBytes("G0Out1", 9));
  EXPECT_EQ(entries[0], 0xAA);
}

TEST(TapQueue, CountsWhatIsStored) {
  Queue q;
  EXPECT_EQ(q.queue.bytes(), 0U);
  q.add(Note);
  EXPECT_EQ(q.queue.bytes(), NoteCost);
  q.add(Note);
  EXPECT_EQ(q.queue.bytes(), NoteCost + 9);
  q.take();
  EXPECT_EQ(q.queue.bytes(), 0U);
}

TEST(TapQueue, LongMessageIsWhole) {
  Queue q(4U << 20U);
  Bytes message(1U << 20U);
  for (std::size_t i = 0; i < message.size(); ++i) message[i] = static_cast<std::uint8_t>(i * 31 + (i >> 12U));
  q.add(Note);
  q.add(message);
  q.add(Note);
  const auto received = q.take();
  ASSERT_EQ(received.size(), 3U);
  EXPECT_EQ(received[1].message, message);
}

TEST(TapQueue, DefaultSizeHoldsMinutesOfAFullPort) {
  const struct {
    const char* what;
    Bytes message;
    microseconds onTheWire;
    std::chrono::minutes held;
  } table[] = {
      {"three bytes", Note, microseconds(960), std::chrono::minutes(8)},
      {"three bytes with running status", Note, microseconds(640), std::chrono::minutes(8)},
      // Too fast for eight minutes.
      {"one byte", {0xF8}, microseconds(320), std::chrono::minutes(5)},
  };
  for (const auto& row : table) {
    TapQueue queue(QueueLimits{}.queueBytes);
    device::Time now{};
    while (queue.lost() == 0) {
      queue.add(One, out(0, 0), "p", Holder, {0, row.message}, now);
      now += row.onTheWire;
    }
    EXPECT_GT(now, row.held) << row.what;
  }
}

TEST(TapQueue, NamesAreThoseOfTheTimeOfTheMessage) {
  Queue q;
  const auto add = [&](device::PortId port, const char* name) { q.queue.add(One, port, name, Holder, {0, Note}, {}); };
  add(out(0, 0), "early");
  add(out(0, 1), "other");
  EXPECT_EQ(textsOf(q.take()), (Texts{"1 early: 90 3C 40", "1 other: 90 3C 40"}));
  add(out(0, 0), "late");
  add(out(0, 0), "late");
  EXPECT_EQ(textsOf(q.take()), (Texts{"1 late: 90 3C 40", "1 late: 90 3C 40"}));
}

}  // namespace
}  // namespace service
