// Unpredictable numbers.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace host {

// Throws std::system_error if the system has none, which does not happen on systems in use.
inline std::uint64_t randomNumber() {
  std::uint64_t number = 0;
  if (getentropy(&number, sizeof number) < 0) throw std::system_error(errno, std::generic_category());
  return number;
}

}  // namespace host
