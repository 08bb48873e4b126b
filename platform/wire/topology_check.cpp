#include "platform/wire/topology_check.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_set>

#include "platform/device/limits.h"
#include "platform/device/names.h"
#include "platform/device/size_limits.h"

namespace wire {
namespace {

bool isName(std::string_view name, std::size_t most) { return name.size() <= most && device::isCleanName(name); }

// Removed ports are nameless. The names of numbered ports differ in their digits only, so the longest stands for all.
bool hasGoodNames(const device::SideOfGroup& side) {
  if (side.names.empty()) {
    return side.count == 0 || isName(side.nameOf(static_cast<std::uint16_t>(side.count - 1)), device::MaxNameBytes);
  }
  for (std::uint16_t index = 0; index < side.count; ++index) {
    if (side.exists(index) && !isName(side.names[index], device::MaxNameBytes)) return false;
  }
  return true;
}

std::optional<std::string> broken(const Topology& topology) {
  if (topology.groups.size() > device::MaxGroups) {
    return std::to_string(topology.groups.size()) + " groups, more than " + std::to_string(device::MaxGroups);
  }
  std::unordered_set<std::uint64_t> handles;
  std::size_t ports = 0;
  std::size_t number = 0;
  for (const device::Group& group : topology.groups) {
    ++number;
    const auto place = [number] { return "group " + std::to_string(number); };
    if (!handles.insert(group.handle).second) return place() + " has the handle of another group";
    if (!isName(group.name, device::MaxGroupNameBytes)) return place() + " has a name that no group may have";
    for (const auto* side : {&group.sources, &group.sinks}) {
      if (!*side) continue;
      if (!(*side)->names.empty() && (*side)->names.size() != (*side)->count) {
        return place() + " has not as many port names as ports";
      }
      ports += (*side)->count;
      if (ports > device::MaxPorts) return "more than " + std::to_string(device::MaxPorts) + " ports";
      if (!hasGoodNames(**side)) return place() + " has a port with a name that no port may have";
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> whyRefused(const Topology& topology) {
  const auto cause = broken(topology);
  return cause ? std::optional("the service's list of ports is refused: " + *cause) : std::nullopt;
}

}  // namespace wire
