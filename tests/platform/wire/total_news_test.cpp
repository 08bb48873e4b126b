#include "platform/wire/total_news.h"

#include <gtest/gtest.h>

#include <optional>

#include "platform/wire/loss_text.h"

namespace wire {
namespace {

using std::chrono::seconds;

TEST(TotalNews, GrowthIsReportedAtOnceAndThenAsOneSum) {
  TotalNews news(seconds(10));
  EXPECT_EQ(news.take(0, seconds(1)), 0U);
  EXPECT_EQ(news.next(0), std::nullopt);
  EXPECT_EQ(news.next(3), seconds(0));
  EXPECT_EQ(news.take(3, seconds(2)), 3U);
  EXPECT_EQ(news.next(3), std::nullopt);
  EXPECT_EQ(news.take(4, seconds(3)), 0U);
  EXPECT_EQ(news.take(9, seconds(12) - std::chrono::nanoseconds(1)), 0U);
  EXPECT_EQ(news.next(9), seconds(12));
  EXPECT_EQ(news.take(9, seconds(12)), 6U);
  EXPECT_EQ(news.take(9, seconds(99)), 0U);
}

TEST(TotalNews, TakeAllReportsWithoutWaiting) {
  TotalNews news(seconds(10));
  EXPECT_EQ(news.take(1, seconds(1)), 1U);
  EXPECT_EQ(news.takeAll(5, seconds(1)), 4U);
  EXPECT_EQ(news.takeAll(5, seconds(1)), 0U);
}

TEST(LossText, SaysHowManyTimesOnlyWhenThereWereSeveral) {
  EXPECT_EQ(uncountedLossText(1), "an unknown number of messages, perhaps none, lost before reaching the service");
  EXPECT_EQ(uncountedLossText(2),
            "2 times an unknown number of messages, perhaps none, lost before reaching the service");
}

}  // namespace
}  // namespace wire
