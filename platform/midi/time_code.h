// MIDI time code.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace midi {

enum class FrameRate : std::uint8_t { Film24 = 0, Video25 = 1, Drop30 = 2, Full30 = 3 };

// Frames a second: 29.97 for drop frame.
double framesPerSecond(FrameRate rate);

// A time of day in frames, in range.
struct TimeCode {
  std::uint8_t hours = 0;
  std::uint8_t minutes = 0;
  std::uint8_t seconds = 0;
  std::uint8_t frames = 0;
  FrameRate rate = FrameRate::Film24;
  friend bool operator==(const TimeCode&, const TimeCode&) = default;
};

// "01:02:03:04"; drop frame as "01:02:03;04".
std::string timeText(const TimeCode& time);

// "24", "25", "29.97", "30".
std::string_view rateText(FrameRate rate);

// Reads the four bytes of a time in a full frame: rate and hours, minutes, seconds, frames. Returns nullopt if there
// are fewer, or the time is out of range.
std::optional<TimeCode> readTimeCode(std::span<const std::uint8_t> bytes);

// Puts quarter frames together. Eight of them in a row carry a time: 0 to 7 while it runs forward, 7 to 0 backward.
class QuarterFrames {
 public:
  // data: the byte behind the status. Returns the time that this piece completes: the one at which the first of the
  // eight was sent. nullopt if it completes none, or the time is out of range.
  std::optional<TimeCode> add(std::uint8_t data);

 private:
  static constexpr std::uint8_t Pieces = 8;

  std::array<std::uint8_t, Pieces> nibbles_{};
  std::uint8_t forward_ = 0;   // pieces in a row from piece 0 on
  std::uint8_t backward_ = 0;  // pieces in a row from piece 7 down
};

}  // namespace midi
