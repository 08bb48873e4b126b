// Log lines about frequent events.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/device/port.h"

namespace drivers {

// Reasons why messages are not sent to a port, for BurstLog::addUnsent.
namespace unsent {
inline constexpr std::string_view NoSuchChannel = "group id and channel do not form a MIDI channel (0 to 15)";
inline constexpr std::string_view NotOneMessage = "not exactly one complete MIDI message";
inline constexpr std::string_view TooMuchWaits = "its queue is full";
inline constexpr std::string_view NotConnected = "cannot connect to the port";
inline constexpr std::string_view PortHasGone = "the port does not exist any more";
}  // namespace unsent

// Counts equal events and makes one log line of them: a second after the first event, but no sooner than apart after
// the previous line.
class BurstLog {
 public:
  using Take = std::function<void(std::string_view line)>;

  // The line is the count, the noun (with an s unless the count is 1) and what. apart: the least time between two such
  // lines; must be the same each time.
  void add(std::uint64_t count, std::string_view noun, std::string_view what, device::Time now,
           device::Time apart = std::chrono::seconds(1));

  // Counts messages that were not sent. port: its name in the other system.
  void addUnsent(std::uint64_t messages, std::string_view port, std::string_view why, device::Time now);

  // Calls take with each line that is due. Returns when the next line is due; nullopt if none waits.
  std::optional<device::Time> advance(device::Time now, const Take& take);

  // Calls take with all remaining lines, even if they are not due.
  void finish(const Take& take);

 private:
  struct Burst {
    std::uint64_t count = 0;  // 0: a line was made; the next may follow at due
    device::Time due{};
    device::Time apart{};
  };

  static void say(const std::pair<std::string, std::string>& text, std::uint64_t count, const Take& take);

  std::map<std::pair<std::string, std::string>, Burst> bursts_;  // by noun and what
};

}  // namespace drivers
