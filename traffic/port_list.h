// The ports that a position stands for.
#pragma once

#include <cstddef>
#include <vector>

#include "strmsrv.h"
#include "traffic/port_position.h"

namespace flowscope {

// Returns true if each component of a path that counts for its ports names something: its side, and its group and its
// port if the path is that long. depth: the number of components that the position was read from. A path to a missing
// part of a group or side does not mean the whole.
bool namesPorts(const PortPosition& position, std::size_t depth);

// Returns the ports of a position: at a port that port alone, in a group its ports in order, at a side the ports of all
// its groups in the device's order. The position must have a side. Throws std::out_of_range for a group that its side
// does not list.
std::vector<StrmSrv::PortRecord> portsOf(const PortPosition& position, const StrmSrv::Patcher& patcher);

}  // namespace flowscope
