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

}  // namespace wire
