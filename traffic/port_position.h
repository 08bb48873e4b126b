// The position in the device that a path leads to: stream type, side, group, port.
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

// A field is set if the path is that long and names something known.
struct PortPosition {
  std::optional<unsigned> streamType;  // index into StreamTypeNameTable
  std::optional<PortSide> side;
  std::optional<std::uint16_t> group;
  std::optional<std::uint16_t> port;
  std::optional<std::uint16_t> connectedGroup;
  std::string connectedName;  // name of a connected port, as in the path; empty if the path ends before

  friend bool operator==(const PortPosition&, const PortPosition&) = default;

  // True at a side of a stream type, and anywhere below it.
  bool inStreamDirectory() const { return streamType.has_value() && side.has_value(); }
};

// Returns the groups of one side, in the device's order. Valid as long as the patcher.
const std::vector<StrmSrv::GroupRecord>& groupsOf(const StrmSrv::Patcher& patcher, PortSide side);

// Returns the port count of a group. Throws std::out_of_range if the group is not in the list.
std::uint16_t portCountOf(const std::vector<StrmSrv::GroupRecord>& groups, std::uint16_t group);

// Reads the components of an absolute path. An unknown side or group ends the reading. An unknown stream type does not;
// its ports are then named as those of the first type. If the group is not in its side's list, its ports are unknown:
// on the sink side that ends the reading, on the source side it throws std::out_of_range.
PortPosition parsePortPosition(const PathComponents& components, const StrmSrv::Patcher& patcher);

// Like above, for a command that reads many paths: makes the names of a group once for all of them.
PortPosition parsePortPosition(const PathComponents& components, PortIndexes& indexes);

}  // namespace flowscope
