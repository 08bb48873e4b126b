// The port indices that a console uses.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/topology.h"

namespace client {

// A console counts the ports of a side without gaps; the service leaves a gap where a port was removed. Ports that are
// added later have numbers after those of the first. On a side without gaps, both indices are equal.
class GaplessIndices {
 public:
  GaplessIndices() = default;

  // groups: all have ids (see channel::GroupIds).
  explicit GaplessIndices(std::span<const device::Group> groups);

  // The number of ports at the beginning.
  std::uint16_t count(std::uint16_t group, device::Side side, std::uint16_t serviceCount) const;

  // The service's index of the port with this console index.
  std::uint16_t toService(std::uint16_t group, std::uint16_t index, device::Side side) const;

  // The console's index of the service's port; a port without one gets one.
  std::uint16_t toConsole(std::uint16_t group, std::uint16_t index, device::Side side);

 private:
  struct Gapless {
    std::vector<std::uint16_t> toService;
    std::unordered_map<std::uint16_t, std::uint16_t> toConsole;
    std::uint16_t firstCount = 0;
    std::uint16_t add(std::uint16_t index);
  };

  void enter(std::uint16_t group, device::Side side, const device::SideOfGroup& ports);

  std::map<std::pair<std::uint16_t, device::Side>, Gapless> sides_;  // only sides with gaps
};

}  // namespace client
