#include "platform/channel/uncounted_losses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <vector>

namespace channel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(UncountedLosses, AreReportedAtOnceAndThenEveryTenSecondsAtMost) {
  std::vector<std::uint64_t> told;
  UncountedLosses losses([&](std::uint64_t times) { told.push_back(times); });
  losses.advance(100s);
  EXPECT_THAT(told, ElementsAre());
  losses.add();
  losses.advance(101s);
  EXPECT_THAT(told, ElementsAre(1));
  losses.add();
  losses.add();
  losses.advance(110999ms);
  EXPECT_THAT(told, ElementsAre(1));
  losses.advance(111s);
  EXPECT_THAT(told, ElementsAre(1, 2));
  losses.advance(200s);
  EXPECT_THAT(told, ElementsAre(1, 2));
}

TEST(UncountedLosses, ReportTheRestAtTheEnd) {
  std::vector<std::uint64_t> told;
  {
    UncountedLosses losses([&](std::uint64_t times) { told.push_back(times); });
    losses.add();
    losses.advance(1s);
    losses.add();
    losses.add();
    losses.advance(2s);
  }
  EXPECT_THAT(told, ElementsAre(1, 2));
}

}  // namespace
}  // namespace channel
