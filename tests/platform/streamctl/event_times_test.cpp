#include "platform/streamctl/event_times.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <utility>
#include <vector>

namespace streamctl {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t Second = 1'000'000'000;

// Text and nanoseconds of each of these times.
std::vector<std::pair<std::string, std::string>> shown(TimeForm form, const std::vector<std::uint64_t>& times) {
  EventTimes events(form);
  std::vector<std::pair<std::string, std::string>> all;
  for (const std::uint64_t time : times) {
    events.print(time);
    auto& [text, number] = all.emplace_back();
    events.appendText(text);
    events.appendNanoseconds(number);
  }
  return all;
}

using Shown = std::vector<std::pair<std::string, std::string>>;

TEST(EventTimes, AreTheServicesUnlessToldOtherwise) {
  EXPECT_EQ(shown(TimeForm::Service, {1'234 * Second + 567, 0}),
            (Shown{{"1234.000000567", "1234000000567"}, {"0.000000000", "0"}}));
}

TEST(EventTimes, DeltaIsSinceTheTimeBefore) {
  EXPECT_EQ(shown(TimeForm::Delta, {5 * Second, 5 * Second + 1, 5 * Second + 1, 7 * Second}),
            (Shown{{"0.000000000", "0"}, {"0.000000001", "1"}, {"0.000000000", "0"}, {"1.999999999", "1999999999"}}));
}

TEST(EventTimes, StartIsSinceTheFirstTime) {
  EXPECT_EQ(shown(TimeForm::Start, {5 * Second, 6 * Second, 8 * Second}),
            (Shown{{"0.000000000", "0"}, {"1.000000000", "1000000000"}, {"3.000000000", "3000000000"}}));
}

TEST(EventTimes, MayGoBack) {
  EXPECT_EQ(shown(TimeForm::Delta, {2 * Second, Second / 2, Second}),
            (Shown{{"0.000000000", "0"}, {"-1.500000000", "-1500000000"}, {"0.500000000", "500000000"}}));
  EXPECT_EQ(shown(TimeForm::Start, {2 * Second, Second})[1].first, "-1.000000000");
  EXPECT_EQ(shown(TimeForm::Start, {0, std::uint64_t{1} << 63U})[1].first, "-9223372036.854775808") << "no overflow";
}

TEST(EventTimes, NoneIsNothing) { EXPECT_EQ(shown(TimeForm::None, {5}), (Shown{{"", ""}})); }

// Sets the time zone of the process.
class TimeZone {
 public:
  explicit TimeZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;
  ~TimeZone() {
    unsetenv("TZ");
    tzset();
  }
};

TEST(EventTimes, WallIsTheTimeOfDayInTheZone) {
  EventTimes events(TimeForm::Wall);
  // 2001-09-09 01:46:40 UTC.
  events.setWallOffset(1'000'000'000s);
  events.print(61 * Second + 123'456'789);
  const auto text = [&] {
    std::string out;
    events.appendText(out);
    return out;
  };
  {
    const TimeZone zone("UTC0");
    EXPECT_EQ(text(), "01:47:41.123456");
  }
  {
    const TimeZone zone("FAR-5:30");
    EXPECT_EQ(text(), "07:17:41.123456");
  }
  std::string number;
  events.appendNanoseconds(number);
  EXPECT_EQ(number, "1000000061123456789");
}

TEST(EventTimes, WallTakesAnyTime) {
  for (const std::uint64_t time : {std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()}) {
    for (const auto offset : {0ns, std::chrono::nanoseconds::min(), std::chrono::nanoseconds::max()}) {
      EventTimes events(TimeForm::Wall);
      events.setWallOffset(offset);
      events.print(time);
      std::string text;
      events.appendText(text);
      EXPECT_EQ(text.size(), 15U) << text;
    }
  }
}

}  // namespace
}  // namespace streamctl
