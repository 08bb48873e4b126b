// Why a service's answers are refused, reported at intervals.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>

namespace channel {

// Makes lines for the user: the first at once, another cause at most every ten seconds, so that a service that changes
// between causes does not fill the terminal. A cause that lasts is reported once. Not thread-safe.
class RefusalReport {
 public:
  // The last answer was refused at now for this cause, or taken (nullopt). Returns the cause if it is to be reported.
  std::optional<std::string> answered(std::optional<std::string> cause, std::chrono::nanoseconds now) {
    if (!cause) {
      told_.reset();
      return std::nullopt;
    }
    if (cause == told_ || (next_ && now < *next_)) return std::nullopt;
    told_ = std::move(cause);
    next_ = now + Interval;
    return told_;
  }

 private:
  static constexpr std::chrono::seconds Interval{10};

  std::optional<std::string> told_;  // and refused for it ever since, or for others meanwhile
  std::optional<std::chrono::nanoseconds> next_;
};

}  // namespace channel
