// Where in the device a path leads: stream type, side, group, port.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "strmsrv.h"
#include "topology/path.h"
#include "traffic/port_indexes.h"
#include "traffic/port_side.h"

namespace flowscope {

// Each field is there when the path goes so far and names something known.
struct PortPosition {
  std::optional<unsigned> streamType;  // index into StreamTypeNameTable
  std::optional<PortSide> side;
  std::optional<std::uint16_t> group;
  std::optional<std::uint16_t> port;
  std::optional<std::uint16_t> connectedGroup;
  std::string connectedName;  // of a connected port, as it stands in the path; empty when the path ends before

  friend bool operator==(const PortPosition&, const PortPosition&) = default;

  // True at a side of a stream type, and anywhere below one.
  bool inStreamDirectory() const { return streamType.has_value() && side.has_value(); }
};

// The groups of one side, in the device's order. Lives as long as the patcher.
const std::vector<StrmSrv::GroupRecord>& groupsOf(const StrmSrv::Patcher& patcher, PortSide side);

// The port count of a group. Throws std::out_of_range for a group that does not stand in the list.
std::uint16_t portCountOf(const std::vector<StrmSrv::GroupRecord>& groups, std::uint16_t group);

// Reads the components of an absolute path. A side or a group that is not known ends the reading, a stream type that
// is not known does not; its ports are then named as those of the first type. Of a group that does not stand in its
// side's list, the ports cannot be told: on the sink side that ends the reading, on the source side it throws
// std::out_of_range.
PortPosition parsePortPosition(const PathComponents& components, const StrmSrv::Patcher& patcher);

// The same, for a command that reads many paths: the names of a group are made once for all of them.
PortPosition parsePortPosition(const PathComponents& components, PortIndexes& indexes);

}  // namespace flowscope
