// The earliest of several times.
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace sys {

// Sets first to the earlier of the two; nullopt means never.
inline void keepEarlier(std::optional<std::chrono::nanoseconds>& first, std::optional<std::chrono::nanoseconds> other) {
  if (other) first = std::min(first.value_or(*other), *other);
}

}  // namespace sys
