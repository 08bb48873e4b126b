#include "platform/streamctl/progress_text.h"

#include <gtest/gtest.h>

namespace streamctl {
namespace {

using namespace std::chrono_literals;

TEST(ProgressText, GrowsFromTheLeft) {
  EXPECT_EQ(progressText(0s, 100s, 30), "[>         ]   0%  0:00 / 1:40");
  EXPECT_EQ(progressText(45s, 100s, 30), "[====>     ]  45%  0:45 / 1:40");
  EXPECT_EQ(progressText(100s, 100s, 30), "[==========] 100%  1:40 / 1:40");
}

TEST(ProgressText, LeavesOutWhatHasNoRoom) {
  const struct {
    std::size_t columns;
    const char* text;
  } rows[] = {{29, "  0%  0:00 / 1:40"}, {17, "  0%  0:00 / 1:40"}, {16, "  0%"}, {4, "  0%"}, {3, ""}, {0, ""}};
  for (const auto& row : rows) EXPECT_EQ(progressText(0s, 100s, row.columns), row.text) << row.columns;
}

TEST(ProgressText, NeverExceedsTheColumns) {
  for (std::size_t columns = 0; columns < 200; ++columns) {
    for (const device::Time length : {0s, 9s, 3600s, 360'000s}) {
      for (const device::Time position : {device::Time(0), length / 3, length}) {
        EXPECT_LE(progressText(position, length, columns).size(), columns);
      }
    }
  }
  EXPECT_LT(progressText(0s, 1s, 1000).size(), 100U);
}

TEST(ProgressText, KeepsItsWidthWhileThePartGrows) {
  const auto atStart = progressText(0s, 7200s, 80);
  EXPECT_EQ(atStart.size(), progressText(7200s, 7200s, 80).size());
  EXPECT_NE(atStart.find("  0:00 / 120:00"), std::string::npos);
}

TEST(ProgressText, ScoreOfNoLengthIsOver) { EXPECT_EQ(progressText(0s, 0s, 20), "100%  0:00 / 0:00"); }

}  // namespace
}  // namespace streamctl
