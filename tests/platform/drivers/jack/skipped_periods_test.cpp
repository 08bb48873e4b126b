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

TEST(SkippedPeriods, AreReportedAtOnceAndThenOnceASecondForEachSource) {
  SkippedPeriods skipped;
  EXPECT_THAT(skipped.take(10s), IsEmpty());
  EXPECT_EQ(skipped.next(), std::nullopt);
  skipped.add(One);
  skipped.add(One);
  EXPECT_THAT(skipped.take(10s), ElementsAre(One));
  EXPECT_EQ(skipped.next(), std::nullopt);
  skipped.add(Other);
  skipped.add(One);
  EXPECT_THAT(skipped.take(10s + 400ms), ElementsAre(Other));
  EXPECT_EQ(skipped.next(), 11s);
  EXPECT_THAT(skipped.take(10s + 999ms), IsEmpty());
  EXPECT_THAT(skipped.take(11s), ElementsAre(One));
  EXPECT_EQ(skipped.next(), std::nullopt);
  EXPECT_THAT(skipped.take(13s), IsEmpty());
}

TEST(SkippedPeriods, AreNotReportedForASourceThatIsNoLongerUsed) {
  SkippedPeriods skipped;
  skipped.add(One);
  skipped.add(Other);
  skipped.take(10s);
  skipped.add(One);
  skipped.forget(One);
  EXPECT_EQ(skipped.next(), std::nullopt);
  EXPECT_THAT(skipped.take(20s), IsEmpty());
}

}  // namespace
}  // namespace drivers::jack
