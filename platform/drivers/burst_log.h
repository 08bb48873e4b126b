// Lines for the log about what happens often.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/drivers/port.h"

namespace service {

// Why messages do not go out to a port, for BurstLog::addUnsent.
namespace unsent {
inline constexpr std::string_view NoSuchChannel = "there are no more than 16 channels";
inline constexpr std::string_view NotOneMessage = "what was to go is not one MIDI message";
inline constexpr std::string_view TooMuchWaits = "too much waits for it";
inline constexpr std::string_view PortHasGone = "it has gone";
}  // namespace unsent

// Counts what is said within a second, and makes one line of it.
class BurstLog {
 public:
  // The line is the count, the noun, with an s for several, and what.
  void add(std::uint64_t count, std::string_view noun, std::string_view what, Time now);

  // Messages for a port, as the other system calls it, have not been sent.
  void addUnsent(std::uint64_t messages, std::string_view port, std::string_view why, Time now);

  // Gives take the lines that are due. Answers when the next one is.
  std::optional<Time> advance(Time now, const std::function<void(std::string_view)>& take);

 private:
  struct Burst {
    std::uint64_t count = 0;
    Time due{};
  };
  std::map<std::pair<std::string, std::string>, Burst> bursts_;  // by noun and what
};

}  // namespace service
