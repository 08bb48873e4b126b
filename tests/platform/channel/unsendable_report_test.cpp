#include "platform/channel/unsendable_report.h"

#include <gtest/gtest.h>

#include <chrono>

namespace channel {
namespace {

using namespace std::chrono_literals;

constexpr const char* One = "1 message not sent: another system has no form for it, such as for a group id above 15";
constexpr const char* Two = "2 messages not sent: another system has no form for them, such as for a group id above 15";
constexpr const char* Three =
    "3 messages not sent: another system has no form for them, such as for a group id above 15";

TEST(UnsendableReport, ComesAtOnceAndThenOnceASecondAtMost) {
  UnsendableReport report;
  EXPECT_FALSE(report.hasNews());
  EXPECT_EQ(report.line(5s), std::nullopt);
  report.counted(1);
  EXPECT_TRUE(report.hasNews());
  EXPECT_EQ(report.line(5s), One);
  EXPECT_FALSE(report.hasNews());
  report.counted(2);
  report.counted(4);
  EXPECT_TRUE(report.hasNews());
  EXPECT_EQ(report.line(5999ms), std::nullopt);
  EXPECT_EQ(report.line(6s), Three);
  EXPECT_EQ(report.line(9s), std::nullopt);
}

TEST(UnsendableReport, LastLineDoesNotWait) {
  UnsendableReport report;
  report.counted(1);
  EXPECT_EQ(report.line(5s), One);
  report.counted(3);
  EXPECT_EQ(report.lastLine(5s), Two);
  EXPECT_EQ(report.lastLine(9s), std::nullopt);
}

TEST(UnsendableReport, NextSessionCountsFromZero) {
  UnsendableReport report;
  report.counted(5);
  report.sessionEnded();
  EXPECT_TRUE(report.lastLine(1s));
  report.counted(0);
  EXPECT_FALSE(report.hasNews());
  report.counted(3);
  EXPECT_EQ(report.line(9s), Three);
}

}  // namespace
}  // namespace channel
