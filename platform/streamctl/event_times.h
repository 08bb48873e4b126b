// The time of a message as a user wants it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace streamctl {

enum class TimeForm : std::uint8_t {
  Service,  // of the service's clock
  Wall,     // of the day, in the time zone of the process
  Delta,    // since the message printed before
  Start,    // since the first message printed
  None
};

// Writes the times of messages, which it gets in the order of printing, by the service's clock in nanoseconds. Times
// may go back a little from one port to another; then a difference is negative.
class EventTimes {
 public:
  explicit EventTimes(TimeForm form) : form_(form) {}

  TimeForm form() const { return form_; }

  // What to add to the service's clock for nanoseconds since 1970. Needed for Wall only.
  void setWallOffset(std::chrono::nanoseconds offset) { wallOffset_ = offset; }

  // Notes that a message of this time is printed next. Call it once for each.
  void print(std::uint64_t time);

  // Appends the time of the message that is printed: seconds with nine decimals; for Wall hours, minutes and seconds
  // with six decimals; nothing for None.
  void appendText(std::string& out) const;

  // Appends the same in nanoseconds, for Wall since 1970; nothing for None.
  void appendNanoseconds(std::string& out) const;

 private:
  TimeForm form_;
  std::chrono::nanoseconds wallOffset_{0};
  std::optional<std::uint64_t> base_;  // the first time, or the time before
  std::uint64_t time_ = 0;             // service's clock
  std::int64_t difference_ = 0;        // of Delta and Start
};

// A number in decimal.
void appendNumber(std::uint64_t number, std::string& out);

}  // namespace streamctl
