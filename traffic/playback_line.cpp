#include "traffic/playback_line.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace flowscope {

namespace {

constexpr std::string_view WhiteSpace = " \t\n\v\f\r";
constexpr std::uint8_t FirstStatus = 0x80;
constexpr std::uint8_t SystemExclusive = 0xF0;
constexpr std::uint8_t EndOfExclusive = 0xF7;

std::size_t valueCount(std::uint8_t kind) {
  // For 0x80, 0x90 to 0xE0.
  constexpr std::array<std::size_t, 7> Counts{2, 2, 2, 2, 3, 1, 2};
  return Counts.at(static_cast<std::size_t>(kind - FirstStatus) / 0x10);
}

}  // namespace

std::uint32_t playbackNumber(const std::string& word) {
  constexpr double Modulus = 4294967296.0;
  const double value = std::strtod(word.c_str(), nullptr);
  if (!std::isfinite(value)) return 0;
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::fmod(std::trunc(value), Modulus)));
}

std::optional<PlaybackMessage> PlaybackLine::next() {
  while (const auto status = nextNumber()) {
    const auto kind = static_cast<std::uint8_t>(*status & 0xF0U);
    if (kind < FirstStatus) continue;
    bytes_.assign(1, kind);
    const bool exclusive = kind == SystemExclusive;
    if (!(exclusive ? takeExclusive() : takeValues(valueCount(kind)))) break;
    const auto group = nextNumber();
    if (!group && !exclusive) break;
    return PlaybackMessage{bytes_, static_cast<std::uint16_t>(group.value_or(0))};
  }
  return std::nullopt;
}

std::optional<std::uint32_t> PlaybackLine::nextNumber() {
  rest_.remove_prefix(std::min(rest_.find_first_not_of(WhiteSpace), rest_.size()));
  if (rest_.empty()) return std::nullopt;
  const std::size_t length = std::min(rest_.find_first_of(WhiteSpace), rest_.size());
  word_.assign(rest_, 0, length);
  rest_.remove_prefix(length);
  return playbackNumber(word_);
}

bool PlaybackLine::takeValues(std::size_t count) {
  for (; count > 0; --count) {
    const auto value = nextNumber();
    if (!value) return false;
    bytes_.push_back(static_cast<std::uint8_t>(*value));
  }
  return true;
}

bool PlaybackLine::takeExclusive() {
  while (const auto value = nextNumber()) {
    bytes_.push_back(static_cast<std::uint8_t>(*value));
    if (bytes_.back() == EndOfExclusive) return true;
  }
  return false;
}

}  // namespace flowscope
