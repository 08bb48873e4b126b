#include "platform/midi/time_code.h"

namespace midi {
namespace {

constexpr std::array<double, 4> Rates{24, 25, 29.97, 30};
constexpr std::array<std::string_view, 4> RateTexts{"24", "25", "29.97", "30"};
constexpr std::array<std::uint8_t, 4> FramesInASecond{24, 25, 30, 30};

void appendTwoDigits(std::uint8_t number, std::string& text) {
  text += static_cast<char>('0' + number / 10);
  text += static_cast<char>('0' + number % 10);
}

}  // namespace

double framesPerSecond(FrameRate rate) { return Rates.at(static_cast<std::size_t>(rate)); }

std::string_view rateText(FrameRate rate) { return RateTexts.at(static_cast<std::size_t>(rate)); }

std::string timeText(const TimeCode& time) {
  std::string text;
  appendTwoDigits(time.hours, text);
  text += ':';
  appendTwoDigits(time.minutes, text);
  text += ':';
  appendTwoDigits(time.seconds, text);
  text += time.rate == FrameRate::Drop30 ? ';' : ':';
  appendTwoDigits(time.frames, text);
  return text;
}

std::optional<TimeCode> readTimeCode(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < 4) return std::nullopt;
  const auto rate = static_cast<FrameRate>(bytes[0] >> 5U & 0x03U);
  const TimeCode time{static_cast<std::uint8_t>(bytes[0] & 0x1FU), bytes[1], bytes[2], bytes[3], rate};
  const bool inRange = time.hours < 24 && time.minutes < 60 && time.seconds < 60 &&
                       time.frames < FramesInASecond.at(static_cast<std::size_t>(rate));
  return inRange ? std::optional(time) : std::nullopt;
}

std::optional<TimeCode> QuarterFrames::add(std::uint8_t data) {
  const auto piece = static_cast<std::uint8_t>(data >> 4U & 0x07U);
  nibbles_.at(piece) = data & 0x0FU;
  const auto next = [](std::uint8_t inARow, std::uint8_t place) -> std::uint8_t {
    if (place == 0) return 1;
    return inARow == place ? static_cast<std::uint8_t>(inARow + 1) : std::uint8_t{0};
  };
  forward_ = next(forward_, piece);
  backward_ = next(backward_, static_cast<std::uint8_t>(Pieces - 1 - piece));
  if (forward_ != Pieces && backward_ != Pieces) return std::nullopt;
  // Each pair is a byte of a full frame, low half first: frames, seconds, minutes, rate and hours.
  std::array<std::uint8_t, 4> full{};
  for (std::size_t i = 0; i < full.size(); ++i) {
    const std::size_t low = 2 * (full.size() - 1 - i);
    full.at(i) = static_cast<std::uint8_t>(nibbles_.at(low + 1) << 4U | nibbles_.at(low));
  }
  return readTimeCode(full);
}

}  // namespace midi
