#include "platform/host/log_limit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace host {
namespace {

using device::Time;
using Texts = std::vector<std::string>;
using namespace std::chrono_literals;

constexpr Time Begin = 1h;

class LogLimitTest : public testing::Test {
 protected:
  void write(int count, Time now) {
    for (int i = 0; i < count; ++i) log_.write("line", now);
  }

  // What was written since the last time: how many plain lines, and the others.
  std::size_t plain() { return static_cast<std::size_t>(std::ranges::count(lines_, "line")); }
  Texts others() {
    Texts others;
    std::ranges::copy_if(lines_, std::back_inserter(others), [](const auto& line) { return line != "line"; });
    lines_.clear();
    return others;
  }

  Texts lines_;
  LogLimit log_{[this](std::string_view line) { lines_.emplace_back(line); }};
};

TEST_F(LogLimitTest, PassesABurstAndThenAHundredASecond) {
  write(300, Begin);
  EXPECT_EQ(plain(), 300U);
  EXPECT_EQ(others(), Texts());
  EXPECT_EQ(log_.advance(Begin), std::nullopt);
  for (Time now = Begin + 10ms; now <= Begin + 5s; now += 10ms) write(1, now);
  EXPECT_EQ(plain(), 500U);
  EXPECT_EQ(others(), Texts());
}

TEST_F(LogLimitTest, CountsWhatItLeavesOut) {
  write(300, Begin);
  write(1234, Begin + 5ms);
  EXPECT_EQ(plain(), 300U);
  EXPECT_EQ(log_.advance(Begin + 5ms), Begin + 5ms + 1s);
  EXPECT_EQ(log_.advance(Begin + 1s), Begin + 5ms + 1s);
  EXPECT_EQ(others(), Texts());
  EXPECT_EQ(log_.advance(Begin + 5ms + 1s), std::nullopt);
  EXPECT_EQ(others(), Texts{"1234 lines left out: too many in a second"});
  EXPECT_EQ(log_.advance(Begin + 1h), std::nullopt);
  EXPECT_EQ(others(), Texts()) << "once";
}

TEST_F(LogLimitTest, SteadyFloodLosesLinesButNoCount) {
  std::uint64_t all = 0;
  for (Time now = Begin; now < Begin + 10s; now += 1ms, ++all) write(1, now);
  log_.finish();
  EXPECT_EQ(plain(), 300U + 10 * 100U - 1) << "a burst, then a hundred a second";
  std::uint64_t leftOut = 0;
  const Texts said = others();
  EXPECT_GE(said.size(), 8U);
  EXPECT_LE(said.size(), 10U);
  for (const std::string& line : said) leftOut += std::stoull(line);
  EXPECT_EQ(1299U + leftOut, all);
}

TEST_F(LogLimitTest, CountComesBeforeTheNextLine) {
  write(301, Begin);
  others();
  write(1, Begin + 1s);
  EXPECT_EQ(lines_, (Texts{"1 line left out: too many in a second", "line"}));
}

TEST_F(LogLimitTest, RestIsToldAtTheEnd) {
  write(303, Begin);
  log_.finish();
  EXPECT_EQ(others(), Texts{"3 lines left out: too many in a second"});
  log_.finish();
  EXPECT_EQ(others(), Texts());
}

TEST_F(LogLimitTest, IsALogWithAClock) {
  Time now = Begin;
  const Log log = log_.log([&now] { return now; });
  for (int i = 0; i < 400; ++i) log("line");
  EXPECT_EQ(plain(), 300U);
  now += 500ms;
  for (int i = 0; i < 400; ++i) log("line");
  EXPECT_EQ(plain(), 350U);
}

TEST(LogLimit, NobodyListens) {
  LogLimit log{Log{}};
  EXPECT_FALSE(log.log([] { return Begin; }));
  for (int i = 0; i < 1000; ++i) log.write("line", Begin);
  EXPECT_EQ(log.advance(Begin + 1h), std::nullopt);
  log.finish();
}

}  // namespace
}  // namespace host
