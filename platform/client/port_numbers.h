// The indices by which a console knows the ports of a device.
#pragma once

#include <cstdint>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/client/port_names.h"
#include "platform/wire/messages.h"

namespace client {

// A console counts the ports of a side without gaps; the service leaves a gap where a port has gone. Ports that come
// later have numbers behind those of the first. Where a side has no gaps, both count alike.
class PortNumbers {
 public:
  PortNumbers() = default;

  // topology: its groups have ids.
  explicit PortNumbers(const wire::Topology& topology);

  // Of the ports there were at the beginning.
  std::uint16_t count(std::uint16_t group, Side side, std::uint16_t serviceCount) const;

  // The service's index of the port that a console calls so.
  std::uint16_t toService(std::uint16_t group, std::uint16_t index, Side side) const;

  // The console's index of the service's port, which gets one if it has none yet.
  std::uint16_t toConsole(std::uint16_t group, std::uint16_t index, Side side);

 private:
  struct Gapless {
    std::vector<std::uint16_t> toService;
    std::unordered_map<std::uint16_t, std::uint16_t> toConsole;
    std::uint16_t firstCount = 0;
    std::uint16_t add(std::uint16_t index);
  };

  void enter(std::uint16_t group, Side side, const wire::TopologySide& ports);

  std::map<std::pair<std::uint16_t, Side>, Gapless> sides_;  // those with gaps
};

}  // namespace client
