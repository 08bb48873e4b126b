// Brings the connections shown below the ports up to date.
#pragma once

#include "topology/path.h"
#include "topology/topology_shell.h"

namespace flowscope {

// Rebuilds what stands below the ports on the filter's way: the ports that each is connected to, by their groups.
// A port with connections is marked with reverse when the monitor is attached to it, else with bold; one without
// keeps its marks.
//
// The filter is consumed on the way: a node is entered when its name is the next one of the filter, or when the
// filter is used up, so everything behind the place that it names is refreshed too. An empty filter refreshes
// everything. Throws std::out_of_range for a group that the device did not list. Does nothing without a patcher.
//
// A port that an earlier refresh has brought up to date is skipped until the patcher or the attached list changes (see
// RefreshRound).
void refreshTopology(TopologyShell& shell, const PathComponents& filter);

}  // namespace flowscope
