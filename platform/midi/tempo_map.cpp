#include "platform/midi/tempo_map.h"

#include <algorithm>

namespace midi {
namespace {

constexpr std::uint64_t DefaultTempo = 500'000;
constexpr std::uint64_t MaxNanoseconds = 365ULL * 24 * 3600 * 1'000'000'000;

}  // namespace

TimeBase TimeBase::perFrame(std::uint8_t framesPerSecond, std::uint8_t ticks) {
  if (framesPerSecond == 29) return {1'001'000'000, 30ULL * ticks, false};
  return {1'000'000'000, std::uint64_t{framesPerSecond} * ticks, false};
}

TempoMap::TempoMap(TimeBase base, std::vector<TempoChange> changes) : base_(base) {
  stretches_.push_back({0, 0, base.followsTempo ? DefaultTempo : 1});
  if (!base.followsTempo) return;
  std::stable_sort(changes.begin(), changes.end(),
                   [](const TempoChange& left, const TempoChange& right) { return left.tick < right.tick; });
  for (const TempoChange& change : changes) {
    const Stretch last = stretches_.back();
    stretches_.push_back(
        {change.tick, last.unitsBefore + (change.tick - last.tick) * last.unitsPerTick, change.microseconds});
  }
}

std::optional<device::Time> TempoMap::at(std::uint32_t tick) const {
  const auto after =
      std::upper_bound(stretches_.begin(), stretches_.end(), tick,
                       [](std::uint32_t wanted, const Stretch& stretch) { return wanted < stretch.tick; });
  const Stretch& stretch = *(after - 1);
  const std::uint64_t units = stretch.unitsBefore + (tick - stretch.tick) * stretch.unitsPerTick;
  const std::uint64_t whole = units / base_.division;
  if (whole > MaxNanoseconds / base_.scale) return std::nullopt;
  const std::uint64_t rest = ((units % base_.division) * base_.scale + base_.division / 2) / base_.division;
  return device::Time(static_cast<std::int64_t>(whole * base_.scale + rest));
}

}  // namespace midi
