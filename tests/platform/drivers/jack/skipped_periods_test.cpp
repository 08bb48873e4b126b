#include "platform/drivers/jack/skipped_periods.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr device::PortId One{1, 0, device::Side::Source};
constexpr device::PortId Other{2, 0, device::Side::Source};

TEST(SkipNews, AreReportedAtOnceAndThenOnceASecondForEachSource) {
  SkipNews news;
  EXPECT_THAT(news.take(10s), IsEmpty());
  EXPECT_EQ(news.next(), std::nullopt);
  news.add(One);
  news.add(One);
  EXPECT_THAT(news.take(10s), ElementsAre(One));
  EXPECT_EQ(news.next(), std::nullopt);
  news.add(Other);
  news.add(One);
  EXPECT_THAT(news.take(10s + 400ms), ElementsAre(Other));
  EXPECT_EQ(news.next(), 11s);
  EXPECT_THAT(news.take(10s + 999ms), IsEmpty());
  EXPECT_THAT(news.take(11s), ElementsAre(One));
  EXPECT_EQ(news.next(), std::nullopt);
  EXPECT_THAT(news.take(13s), IsEmpty());
}

TEST(SkipNews, AreNotReportedForASourceThatIsNoLongerUsed) {
  SkipNews news;
  news.add(One);
  news.add(Other);
  news.take(10s);
  news.add(One);
  news.forget(One);
  EXPECT_EQ(news.next(), std::nullopt);
  EXPECT_THAT(news.take(20s), IsEmpty());
}

}  // namespace
}  // namespace drivers::jack
