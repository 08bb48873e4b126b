// The ports that a position stands for.
#pragma once

#include <cstddef>
#include <vector>

#include "strmsrv.h"
#include "traffic/port_position.h"

namespace flowscope {

// True when each component of a path that counts for its ports names something: its side, and its group and its port
// when the path leads so far. depth: the number of components that the position was read from. Nobody means a whole
// group, or a whole side, who names a part of it that is not there.
bool namesPorts(const PortPosition& position, std::size_t depth);

// At a port that port alone, in a group its ports in order, at a side the ports of all its groups in the device's
// order. The position must have a side. Throws std::out_of_range for a group that its side does not list.
std::vector<StrmSrv::PortRecord> portsOf(const PortPosition& position, const StrmSrv::Patcher& patcher);

}  // namespace flowscope
