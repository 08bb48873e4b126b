// A port as the service knows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace channel {

// The handle of its group and its index there. If no group has the handle any more, the port was removed.
struct ServicePort {
  std::uint64_t group = 0;
  std::uint16_t index = 0;
  friend auto operator<=>(const ServicePort&, const ServicePort&) = default;  // NOLINT(modernize-use-nullptr)
};

struct ServicePortHash {
  std::size_t operator()(ServicePort port) const noexcept {
    // Handles and indices may both be consecutive numbers from any start: an odd factor keeps them apart.
    return std::hash<std::uint64_t>{}(port.group * 0x9E3779B97F4A7C15U + port.index);
  }
};

}  // namespace channel
