// Lines for the log about what happens often.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/drivers/port.h"

namespace service::alsa {

// Counts what is said within a second, and makes one line of it.
class BurstLog {
 public:
  // what: the rest of the line, behind the number of messages: "for X were not sent: because".
  void add(const std::string& what, std::uint64_t messages, Time now);

  // Gives take the lines that are due. Answers when the next one is.
  std::optional<Time> advance(Time now, const std::function<void(std::string_view)>& take);

 private:
  struct Burst {
    std::uint64_t messages = 0;
    Time due{};
  };
  std::map<std::string, Burst> bursts_;
};

}  // namespace service::alsa
