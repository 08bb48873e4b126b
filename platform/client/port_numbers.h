// The port indices that a console uses.
#pragma once

#include <cstdint>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/client/port_names.h"
#include "platform/wire/messages.h"

namespace client {

// A console counts the ports of a side without gaps; the service leaves a gap where a port was removed. Ports that are
// added later have numbers after those of the first. On a side without gaps, both indices are equal.
class PortNumbers {
 public:
  PortNumbers() = default;

  // topology: all groups have ids.
  explicit PortNumbers(const wire::Topology& topology);

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

  void enter(std::uint16_t group, device::Side side, const wire::TopologySide& ports);

  std::map<std::pair<std::uint16_t, device::Side>, Gapless> sides_;  // only sides with gaps
};

}  // namespace client
