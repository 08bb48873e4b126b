// What a driver does at its end with messages that still wait.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

namespace drivers {

// Blocks: calls pump after each pause, until waiting returns 0, or has returned the same number for a second.
void drainFinally(std::chrono::nanoseconds pause, const std::function<void()>& pump,
                  const std::function<std::size_t()>& waiting);

}  // namespace drivers
