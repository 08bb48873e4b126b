// Which of several times comes first.
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace sys {

// Makes first the earlier of the two, where nullopt is never.
inline void keepEarlier(std::optional<std::chrono::nanoseconds>& first, std::optional<std::chrono::nanoseconds> other) {
  if (other) first = std::min(first.value_or(*other), *other);
}

}  // namespace sys
