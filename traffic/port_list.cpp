#include "traffic/port_list.h"

#include <cstdint>

namespace flowscope {

namespace {

void appendGroup(std::vector<StrmSrv::PortRecord>& ports, std::uint16_t group, std::uint16_t count) {
  for (std::uint16_t port = 0; port < count; ++port) ports.push_back({group, port});
}

}  // namespace

bool namesPorts(const PortPosition& position, std::size_t depth) {
  if (!position.side) return false;
  if (depth >= 3 && !position.group) return false;
  return depth < 4 || position.port;
}

std::vector<StrmSrv::PortRecord> portsOf(const PortPosition& position, const StrmSrv::Patcher& patcher) {
  if (position.port) return {{*position.group, *position.port}};
  const auto& groups = groupsOf(patcher, *position.side);
  std::vector<StrmSrv::PortRecord> ports;
  if (position.group) {
    appendGroup(ports, *position.group, portCountOf(groups, *position.group));
  } else {
    for (const StrmSrv::GroupRecord& group : groups) appendGroup(ports, group.groupId, group.portCount);
  }
  return ports;
}

}  // namespace flowscope
