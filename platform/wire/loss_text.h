// Texts for losses.
#pragma once

#include <cstdint>
#include <string>

namespace wire {

// Returns the text for losses of unknown size that happened this many times.
inline std::string uncountedLossText(std::uint64_t times) {
  const std::string front = times == 1 ? std::string() : std::to_string(times) + " times ";
  return front + "an unknown number of messages, perhaps none, lost before reaching the service";
}

// Returns the text for so many messages that another system has no form for.
inline std::string unsendableText(std::uint64_t count) {
  return std::to_string(count) + (count == 1 ? " message" : " messages") +
         " not sent: another system has no form for " + (count == 1 ? "it" : "them") +
         ", such as for a group id above 15";
}

}  // namespace wire
