#include "platform/drivers/foreign/burst_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace drivers {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class BurstLogTest : public testing::Test {
 protected:
  std::optional<device::Time> advance(device::Time now) {
    lines.clear();
    return log.advance(now, [this](std::string_view line) { lines.emplace_back(line); });
  }

  BurstLog log;
  std::vector<std::string> lines;
};

TEST_F(BurstLogTest, MakesOneLineOfWhatHappensWithinASecond) {
  EXPECT_EQ(advance(0s), std::nullopt);
  log.add(1, "message", "a", 10s);
  log.add(2, "message", "a", 10500ms);
  log.add(1, "period", "a", 10600ms);
  EXPECT_EQ(advance(10999ms), device::Time(11s));
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_EQ(advance(11s), device::Time(11600ms));
  EXPECT_THAT(lines, ElementsAre("3 messages a"));
  EXPECT_EQ(advance(12s), std::nullopt);
  EXPECT_THAT(lines, ElementsAre("1 period a"));
}

TEST_F(BurstLogTest, BeginsAnewAfterALine) {
  log.add(1, "message", "a", 10s);
  advance(11s);
  log.add(1, "message", "a", 20s);
  EXPECT_EQ(advance(20s), device::Time(21s));
  advance(30s);
  EXPECT_THAT(lines, ElementsAre("1 message a"));
}

TEST_F(BurstLogTest, KeepsTheIntervalBetweenLinesAndCountsEverything) {
  log.add(1, "period", "a", 10s, 10s);
  EXPECT_EQ(advance(11s), std::nullopt);
  EXPECT_THAT(lines, ElementsAre("1 period a"));
  log.add(2, "period", "a", 12s, 10s);
  log.add(3, "period", "a", 20900ms, 10s);
  log.add(1, "period", "b", 20s);
  EXPECT_EQ(advance(20999ms), device::Time(21s));
  EXPECT_THAT(lines, IsEmpty());
  advance(21s);
  EXPECT_THAT(lines, ElementsAre("5 periods a", "1 period b"));
  log.add(1, "period", "a", 30999ms, 10s);
  EXPECT_EQ(advance(31s), device::Time(31999ms)) << "a burst is waited for all the same";
  log.add(1, "period", "a", 60s, 10s);
  EXPECT_EQ(advance(60s), std::nullopt) << "the line is due";
  EXPECT_THAT(lines, ElementsAre("2 periods a"));
}

TEST_F(BurstLogTest, LogsTheRestAtTheEnd) {
  log.add(4, "period", "a", 10s, 10s);
  advance(11s);
  log.add(5, "period", "a", 12s, 10s);
  log.add(1, "message", "b", 12s);
  lines.clear();
  const auto take = [this](std::string_view line) { lines.emplace_back(line); };
  log.finish(take);
  EXPECT_THAT(lines, ElementsAre("1 message b", "5 periods a"));
  log.finish(take);
  EXPECT_EQ(lines.size(), 2U);
}

TEST_F(BurstLogTest, NamesThePortThatMissesMessages) {
  log.addUnsent(1, "synth:in", unsent::PortHasGone, 0s);
  log.addUnsent(4, "drums:in", unsent::TooMuchWaits, 0s);
  log.addUnsent(5, "drums:in", unsent::TooMuchWaits, 0s);
  advance(1s);
  EXPECT_THAT(lines, ElementsAre("9 messages for \"drums:in\" not sent: its queue is full",
                                 "1 message for \"synth:in\" not sent: the port does not exist any more"));
}

}  // namespace
}  // namespace drivers
