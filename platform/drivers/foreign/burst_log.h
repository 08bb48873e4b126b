// Lines for the log about what happens often.
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

// Why messages do not go out to a port, for BurstLog::addUnsent.
namespace unsent {
inline constexpr std::string_view NoSuchChannel = "there are no more than 16 channels";
inline constexpr std::string_view NotOneMessage = "what was to go is not one MIDI message";
inline constexpr std::string_view TooMuchWaits = "too much waits for it";
inline constexpr std::string_view PortHasGone = "it has gone";
}  // namespace unsent

// Counts what is said within a second, or within a longer time after the last line, and makes one line of it.
class BurstLog {
 public:
  using Take = std::function<void(std::string_view line)>;

  // The line is the count, the noun, with an s for several, and what. apart: between two such lines, at least; the same
  // each time.
  void add(std::uint64_t count, std::string_view noun, std::string_view what, device::Time now,
           device::Time apart = std::chrono::seconds(1));

  // Messages for a port, as the other system calls it, have not been sent.
  void addUnsent(std::uint64_t messages, std::string_view port, std::string_view why, device::Time now);

  // Gives take the lines that are due. Answers when the next one is.
  std::optional<device::Time> advance(device::Time now, const Take& take);

  // Gives take all lines that are left, however early.
  void finish(const Take& take);

 private:
  struct Burst {
    std::uint64_t count = 0;  // 0: there was a line, and due is the end of the time without one
    device::Time due{};
    device::Time apart{};
  };

  static void say(const std::pair<std::string, std::string>& text, std::uint64_t count, const Take& take);

  std::map<std::pair<std::string, std::string>, Burst> bursts_;  // by noun and what
};

}  // namespace drivers
