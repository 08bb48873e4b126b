// Hashes of ports and connections, for unordered containers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "platform/device/port.h"

namespace device {

// Handles and indices are consecutive numbers. The odd factor, derived from the golden ratio, keeps them apart.
constexpr std::uint64_t mixed(std::uint64_t first, std::uint64_t second) {
  return first * 0x9E3779B97F4A7C15U + second;
}

struct PortHash {
  std::size_t operator()(PortId port) const noexcept {
    return std::hash<std::uint64_t>{}(
        mixed(port.group, std::uint64_t{port.index} << 1U | static_cast<std::uint64_t>(port.side)));
  }
};

struct LinkHash {
  std::size_t operator()(const Link& link) const noexcept {
    // Mixes one field after the other. Mixing two pairs first would give sourceIndex and sinkGroup the same factor.
    return std::hash<std::uint64_t>{}(
        mixed(mixed(mixed(link.sourceGroup, link.sourceIndex), link.sinkGroup), link.sinkIndex));
  }
};

}  // namespace device
