// Completes paths.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "topology/path.h"
#include "topology/topology_node.h"

namespace flowscope {

// Returns the names that complete a partial path: the children of the node before its last "/" (of the current
// directory without one) whose names begin with the text behind it. A null text: all children of the current directory.
// Names of nodes with children end with "/". Bare names, in the order of the tree; none if the node does not exist.
// Throws std::out_of_range like resolvePath.
std::vector<std::string> collectPathCandidates(const char* partial, const PathComponents& current, TopologyNode& root);

}  // namespace flowscope
