// Texts for losses.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace wire {

// Returns the text for losses of unknown size that happened this many times. where: follows "lost on the way".
inline std::string uncountedLossText(std::uint64_t times, std::string_view where) {
  const std::string front = times == 1 ? std::string() : std::to_string(times) + " times ";
  return (front + "an unknown number of messages, perhaps none, lost on the way ").append(where);
}

}  // namespace wire
