#include "platform/channel/refusal_report.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

namespace channel {
namespace {

using namespace std::chrono_literals;
using Line = std::optional<std::string>;

TEST(RefusalReport, CauseThatLastsComesOnce) {
  RefusalReport report;
  EXPECT_EQ(report.answered("A", 0s), "A");
  EXPECT_EQ(report.answered("A", 1s), Line());
  EXPECT_EQ(report.answered("A", 100s), Line());
}

TEST(RefusalReport, CausesThatAlternateComeOnceInTenSeconds) {
  RefusalReport report;
  EXPECT_EQ(report.answered("A", 5s), "A");
  for (int second = 6; second < 15; ++second) {
    EXPECT_EQ(report.answered(second % 2 == 0 ? "B" : "A", std::chrono::seconds(second)), Line()) << second;
  }
  EXPECT_EQ(report.answered("A", 15s), Line()) << "it was the last that came";
  EXPECT_EQ(report.answered("B", 16s), "B");
  EXPECT_EQ(report.answered("A", 17s), Line());
  EXPECT_EQ(report.answered("A", 26s), "A") << "a cause that stays is not lost";
}

TEST(RefusalReport, CauseThatReturnsComesAgainAfterTenSeconds) {
  RefusalReport report;
  EXPECT_EQ(report.answered("A", 0s), "A");
  EXPECT_EQ(report.answered({}, 1s), Line());
  EXPECT_EQ(report.answered("A", 2s), Line());
  EXPECT_EQ(report.answered("A", 9999ms), Line());
  EXPECT_EQ(report.answered("A", 10s), "A");
}

}  // namespace
}  // namespace channel
