// System calls that a signal may interrupt.
#pragma once

#include <cerrno>

namespace sys {

// Repeats a call until no signal interrupts it. call returns a negative number and sets errno on failure. A failed call
// must have had no effect.
template <class Call>
auto throughSignals(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace sys
