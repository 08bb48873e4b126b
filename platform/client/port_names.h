// The names of a device's ports.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/channel/service_port.h"
#include "platform/device/port.h"
#include "platform/wire/messages.h"

namespace client {

// Looks up names in a device's topology by the ids of its groups; a group without an id is not found. Naming a port
// that exists takes the same time whatever the size of the device.
class PortNames {
 public:
  explicit PortNames(wire::Topology topology);

  // The name of a port; for a port that does not exist, a name in the same style that no port has.
  std::string name(std::uint16_t group, std::uint16_t index, device::Side side) const;

  // True when there is such a port.
  bool has(std::uint16_t group, std::uint16_t index, device::Side side) const;

  // True when a port of either side has this name.
  bool has(std::string_view name) const;

  // The group with this id, or null. Valid as long as this object.
  const wire::TopologyGroup* find(std::uint16_t group) const;

  const wire::Topology& topology() const { return topology_; }

 private:
  wire::Topology topology_;
  std::unordered_map<std::uint16_t, std::size_t> byId_;
};

}  // namespace client
