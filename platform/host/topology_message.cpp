#include "platform/host/topology_message.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {
namespace {

// Without original names. Returns nullopt for a side all of whose ports are removed: new clients must not see it.
std::optional<device::SideOfGroup> sideMessage(const std::optional<device::SideOfGroup>& side) {
  if (!side || side->allGone()) return std::nullopt;
  return device::SideOfGroup{side->count, side->prefix, side->names, {}, side->gone};
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
    device::Group sent{group.handle + firstHandle, group.name, sideMessage(group.sources),
                       sideMessage(group.sinks),   {},         group.wantedId};
    const bool allGone = !sent.sources && !sent.sinks && (group.sources || group.sinks);
    if (!allGone) message.groups.push_back(std::move(sent));
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
