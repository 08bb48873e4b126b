// Unpredictable numbers.
#pragma once

#include <cstdint>
#include <random>

namespace host {

inline std::uint64_t randomNumber() {
  std::random_device device;
  return std::uint64_t{device()} << 32U | device();
}

}  // namespace host
