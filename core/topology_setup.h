// Builds the topology tree of a device.
#pragma once

#include "strmsrv.h"
#include "topology/topology_node.h"

namespace flowscope {

// Names the root "/" and gives it a node for each stream type; the first one, the only one with streams, has the
// children "Source" and "Sink".
void buildStreamTypes(TopologyNode& root);

// Adds to each side of the first stream type the groups of the patcher's list, in its order, and to each group its
// ports. A group whose id is not in the table of names is called "[]".
void buildGroups(TopologyNode& root, const StrmSrv::Patcher& patcher);

}  // namespace flowscope
