// Hashes of ports and links, for unordered containers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "platform/drivers/port.h"

namespace service {

struct PortHash {
  std::size_t operator()(PortId port) const noexcept {
    const auto packed =
        std::uint64_t{port.group} << 17U | std::uint64_t{port.index} << 1U | static_cast<std::uint64_t>(port.side);
    return std::hash<std::uint64_t>{}(packed);
  }
};

struct LinkHash {
  std::size_t operator()(const Link& link) const noexcept {
    const auto packed = std::uint64_t{link.sourceGroup} << 48U | std::uint64_t{link.sourceIndex} << 32U |
                        std::uint64_t{link.sinkGroup} << 16U | std::uint64_t{link.sinkIndex};
    return std::hash<std::uint64_t>{}(packed);
  }
};

}  // namespace service
