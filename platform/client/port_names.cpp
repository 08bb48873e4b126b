#include "platform/client/port_names.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/device/port_name.h"

namespace client {
namespace {

const std::optional<wire::TopologySide>& sideOf(const wire::TopologyGroup& group, device::Side side) {
  return side == device::Side::Source ? group.sources : group.sinks;
}

bool isOneOf(std::string_view name, const std::optional<wire::TopologySide>& side) {
  if (!side) return false;
  if (!side->names.empty()) return std::ranges::find(side->names, name) != side->names.end();
  if (!name.starts_with(side->prefix)) return false;
  const auto index = device::indexOfNumber(name.substr(side->prefix.size()));
  return index && *index < side->count;
}

}  // namespace

PortNames::PortNames(wire::Topology topology) : topology_(std::move(topology)) {
  for (std::size_t at = 0; at < topology_.groups.size(); ++at) {
    if (const auto id = topology_.groups[at].id) byId_.emplace(*id, at);
  }
}

std::string PortNames::name(std::uint16_t group, std::uint16_t index, device::Side side) const {
  const wire::TopologyGroup* known = find(group);
  if (known != nullptr) {
    const auto& ports = sideOf(*known, side);
    if (ports && ports->has(index)) {
      return ports->names.empty() ? ports->prefix + std::to_string(index + 1) : ports->names[index];
    }
  }
  return device::missingPortName(known == nullptr ? std::string_view{} : known->name, group, side == device::Side::Sink,
                                 index, [this](const std::string& name) { return has(name); });
}

const wire::TopologyGroup* PortNames::find(std::uint16_t group) const {
  const auto found = byId_.find(group);
  return found == byId_.end() ? nullptr : &topology_.groups[found->second];
}

bool PortNames::has(std::uint16_t group, std::uint16_t index, device::Side side) const {
  const wire::TopologyGroup* known = find(group);
  return known != nullptr && sideOf(*known, side) && sideOf(*known, side)->has(index);
}

bool PortNames::has(std::string_view name) const {
  return std::ranges::any_of(topology_.groups, [name](const wire::TopologyGroup& group) {
    return isOneOf(name, group.sources) || isOneOf(name, group.sinks);
  });
}

}  // namespace client
