// Calls of the system that a signal may interrupt.
#pragma once

#include <cerrno>

namespace sys {

// Makes a call that answers a negative number and sets errno on failure, again and again until no signal has
// interrupted it. The call must have had no effect when it fails.
template <class Call>
auto throughSignals(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace sys
