#include "platform/streamctl/repeating_player.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace streamctl {
namespace {

using device::Time;

// Longer than any wait; adding a time to it does not overflow.
constexpr long double Endless = 1e18L;

class RepeatingPlayer : public midi::Player {
 public:
  explicit RepeatingPlayer(Repetition repetition) : repetition_(std::move(repetition)) {
    if (repetition_.perSecond) period_ = 1e9L / *repetition_.perSecond;
  }

  void start(Time now) override {
    if (!start_) start_ = now;
  }

  std::optional<Time> due() const override {
    if (!start_ || next_ == repetition_.count) return std::nullopt;
    return *start_ + Time(std::llround(std::min(static_cast<long double>(next_) * period_, Endless)));
  }

  std::optional<device::Message> next(Time now) override {
    const auto dueAt = due();
    if (!dueAt || *dueAt > now) return std::nullopt;
    const Time lateness = now - *dueAt;
    if (lateness > MaxLateness) *start_ += lateness;
    ++next_;
    return device::Message{repetition_.group, repetition_.message};
  }

 private:
  Repetition repetition_;
  long double period_ = 0;  // nanoseconds
  std::optional<Time> start_;
  std::uint64_t next_ = 0;
};

}  // namespace

std::unique_ptr<midi::Player> makeRepeatingPlayer(Repetition repetition) {
  return std::make_unique<RepeatingPlayer>(std::move(repetition));
}

}  // namespace streamctl
