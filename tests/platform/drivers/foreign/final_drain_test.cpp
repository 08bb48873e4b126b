#include "platform/drivers/foreign/final_drain.h"

#include <gtest/gtest.h>

namespace drivers {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(FinalDrain, ReturnsAtOnceWhenNothingWaits) {
  drainFinally(
      1h, [] { ADD_FAILURE() << "pumped"; }, [] { return std::size_t{0}; });
}

TEST(FinalDrain, PumpsUntilNothingWaits) {
  std::size_t left = 3;
  drainFinally(
      1ms, [&] { --left; }, [&] { return left; });
  EXPECT_EQ(left, 0U);
}

TEST(FinalDrain, GivesUpWhenNothingHasMovedForASecond) {
  std::size_t left = 100;
  unsigned pumped = 0;
  const auto begin = Clock::now();
  drainFinally(
      1ms,
      [&] {
        if (++pumped == 100) --left;
      },
      [&] { return left; });
  EXPECT_EQ(left, 99U);
  EXPECT_GE(Clock::now() - begin, 1s + 100ms) << "a second after the last that moved";
}

}  // namespace
}  // namespace drivers
