#include "platform/midi/player.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "platform/midi/midi_bytes.h"

namespace midi {
namespace {

class ScorePlayer : public Player {
 public:
  explicit ScorePlayer(ScorePlayback playback) : playback_(std::move(playback)) {
    const device::Time last = playback_.score.events.empty() ? device::Time{} : playback_.score.events.back().time;
    pass_ = std::max(scaled(std::max(playback_.score.length, last)), MinPass);
  }

  void start(device::Time now) override {
    if (passStart_ || playback_.score.events.empty()) return;
    passStart_ = now;
  }

  std::optional<device::Time> due() const override {
    if (!passStart_ || next_ == playback_.score.events.size()) return std::nullopt;
    return withoutPauses() ? *passStart_ : *passStart_ + scaled(playback_.score.events[next_].time);
  }

  std::optional<device::Message> next(device::Time now) override {
    const auto dueAt = due();
    if (!dueAt || *dueAt > now) return std::nullopt;
    const device::Time lateness = now - *dueAt;
    if (lateness > MaxLateness) *passStart_ += lateness;
    const ScoreEvent& event = playback_.score.events[next_++];
    if (playback_.loop && next_ == playback_.score.events.size()) {
      next_ = 0;
      if (!withoutPauses()) *passStart_ += pass_;
    }
    return device::Message{event.group, event.bytes};
  }

 private:
  bool withoutPauses() const { return playback_.speed == 0; }

  device::Time scaled(device::Time time) const {
    if (withoutPauses()) return device::Time{};
    if (playback_.speed == 1) return time;
    return device::Time(std::llround(static_cast<long double>(time.count()) / playback_.speed));
  }

  ScorePlayback playback_;
  device::Time pass_{};
  std::optional<device::Time> passStart_;
  std::size_t next_ = 0;
};

class ClockPlayer : public Player {
 public:
  explicit ClockPlayer(ClockPlayback playback)
      : period_(NanosecondsPerMinute / (ClocksPerBeat * playback.beatsPerMinute)) {}

  void start(device::Time now) override {
    if (!start_) start_ = now;
  }

  std::optional<device::Time> due() const override {
    if (!start_) return std::nullopt;
    return *start_ + device::Time(std::llround(static_cast<long double>(count_) * period_));
  }

  std::optional<device::Message> next(device::Time now) override {
    const auto dueAt = due();
    if (!dueAt || *dueAt > now) return std::nullopt;
    if (now - *dueAt > MaxLateness) {
      count_ = std::llround(std::floor(static_cast<long double>((now - *start_).count()) / period_));
    }
    ++count_;
    return device::Message{0, Clock};
  }

 private:
  static constexpr long double NanosecondsPerMinute = 60e9L;
  static constexpr long double ClocksPerBeat = 24;
  static constexpr std::array<std::uint8_t, 1> Clock{TimingClock};

  long double period_;
  std::optional<device::Time> start_;
  std::int64_t count_ = 0;  // index of the next message
};

}  // namespace

std::unique_ptr<Player> makePlayer(ScorePlayback playback) {
  return std::make_unique<ScorePlayer>(std::move(playback));
}

std::unique_ptr<Player> makePlayer(ClockPlayback playback) { return std::make_unique<ClockPlayer>(playback); }

}  // namespace midi
