#include "platform/host/topology_message.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {
namespace {

// Returns nullopt for a side all of whose ports are removed: new clients must not see it.
std::optional<wire::TopologySide> sideMessage(const std::optional<device::SideOfGroup>& side) {
  if (!side) return std::nullopt;
  wire::TopologySide message{side->count, side->prefix, side->names};
  if (side->gone.empty()) return message;
  if (std::ranges::find(side->gone, false) == side->gone.end()) return std::nullopt;
  for (std::uint16_t index = 0; index < side->count; ++index) {
    if (side->hasGone(index)) message.names[index].clear();
  }
  return message;
}

wire::Original bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

std::vector<wire::Original> sideOriginals(const std::optional<device::SideOfGroup>& side) {
  std::vector<wire::Original> names;
  if (!side) return names;
  for (const std::string& name : side->originals) names.push_back(bytesOf(name));
  return names;
}

}  // namespace

wire::Topology topologyMessage(const device::Topology& topology, std::uint64_t firstHandle) {
  wire::Topology message;
  message.groups.reserve(topology.groups().size());
  for (const device::Group& group : topology.groups()) {
    auto sources = sideMessage(group.sources);
    auto sinks = sideMessage(group.sinks);
    const bool hasGone = !sources && !sinks && (group.sources || group.sinks);
    if (hasGone) continue;
    message.groups.push_back(
        {group.handle + firstHandle, group.wantedId, group.name, std::move(sources), std::move(sinks)});
  }
  return message;
}

wire::Originals originalsMessage(const device::Topology& topology, std::uint64_t firstHandle) {
  wire::Originals message;
  for (const device::Group& group : topology.groups()) {
    if (group.original.empty()) continue;
    message.groups.push_back({group.handle + firstHandle, bytesOf(group.original), sideOriginals(group.sources),
                              sideOriginals(group.sinks)});
  }
  return message;
}

}  // namespace host
