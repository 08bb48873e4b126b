#include "platform/host/topology_message.h"

#include <optional>

namespace host {
namespace {

std::optional<wire::TopologySide> sideMessage(const std::optional<service::SideOfGroup>& side) {
  if (!side) return std::nullopt;
  return wire::TopologySide{side->count, side->prefix, side->names};
}

}  // namespace

wire::Topology topologyMessage(const service::Topology& topology) {
  wire::Topology message;
  message.groups.reserve(topology.groups().size());
  for (const service::Group& group : topology.groups()) {
    message.groups.push_back({group.id, group.name, sideMessage(group.sources), sideMessage(group.sinks)});
  }
  return message;
}

}  // namespace host
