// Updates the connections shown below the ports.
#pragma once

#include "topology/path.h"
#include "topology/topology_shell.h"

namespace flowscope {

// Rebuilds the nodes below the ports that the filter selects: the ports that each is connected to, by group. A port
// with connections is shown in reverse if the monitor is attached to it, otherwise in bold; a port without connections
// keeps its attributes.
//
// The walk consumes the filter: it enters a node if its name is the next one of the filter, or if the filter is used
// up, so everything behind the node that the filter names is refreshed too. An empty filter refreshes everything.
// Throws std::out_of_range for a group that the device did not list. Does nothing without a patcher.
//
// Skips a port that an earlier refresh has updated, until the patcher or the attached list changes (see RefreshRound).
void refreshTopology(TopologyShell& shell, const PathComponents& filter);

}  // namespace flowscope
