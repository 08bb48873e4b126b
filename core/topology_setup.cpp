#include "core/topology_setup.h"

#include <cstdint>
#include <vector>

#include "topology/group_name.h"
#include "traffic/port_position.h"

namespace flowscope {

namespace {

TopologyNode& childOf(TopologyNode& node, const char* name) {
  TopologyNode* const found = node.findChild(name);
  return found != nullptr ? *found : node.addChild(name);
}

void buildSide(TopologyNode& node, const StrmSrv::Patcher& patcher, PortSide side) {
  const auto& groups = groupsOf(patcher, side);
  for (std::size_t position = 0; position < groups.size(); ++position) {
    const auto& record = groups.at(position);
    TopologyNode& group = node.addChild(groupName(record.groupId));
    group.children.reserve(record.portCount);
    for (std::uint16_t index = 0; index < record.portCount; ++index) {
      group.addChild(portName(patcher, 0, record.groupId, index, side));
    }
  }
}

}  // namespace

void buildStreamTypes(TopologyNode& root) {
  root.name = "/";
  for (const char* const type : StrmSrv::StreamTypeNameTable) root.addChild(type);
  TopologyNode& streams = *root.children.front();
  streams.addChild("Source");
  streams.addChild("Sink");
}

void buildGroups(TopologyNode& root, const StrmSrv::Patcher& patcher) {
  TopologyNode& streams = childOf(root, StrmSrv::StreamTypeNameTable[0]);
  buildSide(childOf(streams, "Source"), patcher, PortSide::Source);
  buildSide(childOf(streams, "Sink"), patcher, PortSide::Sink);
}

}  // namespace flowscope
