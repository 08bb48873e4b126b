#include "platform/streamctl/event_times.h"

#include <array>
#include <charconv>
#include <ctime>

namespace streamctl {
namespace {

constexpr std::uint64_t NanosecondsPerSecond = 1'000'000'000;

// "." and the first digits of a part of a second.
void appendFraction(std::uint64_t nanoseconds, std::size_t digits, std::string& out) {
  std::array<char, 10> decimals{'.'};
  for (std::size_t place = decimals.size() - 1; place > 0; --place, nanoseconds /= 10) {
    decimals.at(place) = static_cast<char>('0' + nanoseconds % 10);
  }
  out.append(decimals.data(), digits + 1);
}

void appendSeconds(std::uint64_t nanoseconds, std::string& out) {
  appendNumber(nanoseconds / NanosecondsPerSecond, out);
  appendFraction(nanoseconds % NanosecondsPerSecond, 9, out);
}

// The size of a number without its sign.
std::uint64_t magnitude(std::int64_t number) {
  const auto bits = static_cast<std::uint64_t>(number);
  return number < 0 ? std::uint64_t{0} - bits : bits;
}

void appendTimeOfDay(std::int64_t sinceEpoch, std::string& out) {
  const std::chrono::nanoseconds whole(sinceEpoch);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(whole);
  const auto clock = static_cast<std::time_t>(seconds.count());
  std::tm parts{};
  std::array<char, 16> text{};
  std::size_t size = 0;
  if (localtime_r(&clock, &parts) != nullptr) size = std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
  out.append(text.data(), size);
  // The whole seconds in nanoseconds may be more than a number holds.
  constexpr auto PerSecond = static_cast<std::int64_t>(NanosecondsPerSecond);
  const std::int64_t rest = sinceEpoch % PerSecond;
  appendFraction(static_cast<std::uint64_t>(rest < 0 ? rest + PerSecond : rest), 6, out);
}

}  // namespace

void appendNumber(std::uint64_t number, std::string& out) {
  std::array<char, 20> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  out.append(digits.data(), result.ptr);
}

void EventTimes::print(std::uint64_t time) {
  time_ = time;
  if (!base_) base_ = time;
  // Modulo 2^64, so it is right for every two times that are less than 292 years apart.
  difference_ = static_cast<std::int64_t>(time - *base_);
  if (form_ == TimeForm::Delta) base_ = time;
}

void EventTimes::appendText(std::string& out) const {
  switch (form_) {
    case TimeForm::Service:
      appendSeconds(time_, out);
      break;
    case TimeForm::Wall:
      appendTimeOfDay(static_cast<std::int64_t>(time_ + static_cast<std::uint64_t>(wallOffset_.count())), out);
      break;
    case TimeForm::Delta:
    case TimeForm::Start:
      if (difference_ < 0) out += '-';
      appendSeconds(magnitude(difference_), out);
      break;
    case TimeForm::None:
      break;
  }
}

void EventTimes::appendNanoseconds(std::string& out) const {
  switch (form_) {
    case TimeForm::Service:
      appendNumber(time_, out);
      break;
    case TimeForm::Wall:
      appendNumber(time_ + static_cast<std::uint64_t>(wallOffset_.count()), out);
      break;
    case TimeForm::Delta:
    case TimeForm::Start:
      if (difference_ < 0) out += '-';
      appendNumber(magnitude(difference_), out);
      break;
    case TimeForm::None:
      break;
  }
}

}  // namespace streamctl
