#include "traffic/port_position.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace flowscope {

namespace {

using GroupList = std::vector<StrmSrv::GroupRecord>;

GroupList::const_iterator findGroup(const GroupList& groups, std::uint16_t group) {
  return std::find_if(groups.begin(), groups.end(), [group](const auto& record) { return record.groupId == group; });
}

std::optional<unsigned> streamTypeNamed(const std::string& name) {
  const auto* found = std::find(StrmSrv::StreamTypeNameTable.begin(), StrmSrv::StreamTypeNameTable.end(), name);
  if (found == StrmSrv::StreamTypeNameTable.end()) return std::nullopt;
  return static_cast<unsigned>(found - StrmSrv::StreamTypeNameTable.begin());
}

std::optional<PortSide> sideNamed(const std::string& name) {
  if (name == "Source") return PortSide::Source;
  if (name == "Sink") return PortSide::Sink;
  return std::nullopt;
}

std::optional<std::uint16_t> groupNamed(const std::string& name) {
  for (std::uint16_t id = 0; id < StrmSrv::GroupNames::Count; ++id) {
    if (name == StrmSrv::GroupNameTable[id]) return id;
  }
  return std::nullopt;
}

}  // namespace

const GroupList& groupsOf(const StrmSrv::Patcher& patcher, PortSide side) {
  return side == PortSide::Sink ? patcher.sinkGroups() : patcher.sourceGroups();
}

std::uint16_t portCountOf(const GroupList& groups, std::uint16_t group) {
  return groups.at(static_cast<std::size_t>(findGroup(groups, group) - groups.begin())).portCount;
}

PortPosition parsePortPosition(const PathComponents& components, const StrmSrv::Patcher& patcher) {
  PortIndexes indexes(patcher);
  return parsePortPosition(components, indexes);
}

PortPosition parsePortPosition(const PathComponents& components, PortIndexes& indexes) {
  PortPosition position;
  if (components.empty()) return position;
  position.streamType = streamTypeNamed(components[0]);

  if (components.size() < 2) return position;
  position.side = sideNamed(components[1]);
  if (!position.side) return position;

  if (components.size() < 3) return position;
  position.group = groupNamed(components[2]);
  if (!position.group) return position;

  if (components.size() < 4) return position;
  const GroupList& groups = groupsOf(indexes.patcher(), *position.side);
  if (*position.side == PortSide::Sink && findGroup(groups, *position.group) == groups.end()) return position;
  const std::uint16_t count = portCountOf(groups, *position.group);
  position.port = indexes.find(position.streamType.value_or(0), *position.side, *position.group, count, components[3]);

  if (components.size() < 5) return position;
  position.connectedGroup = groupNamed(components[4]);

  if (components.size() > 5) position.connectedName = components[5];
  return position;
}

}  // namespace flowscope
