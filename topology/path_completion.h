// Completion of paths.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "topology/path.h"
#include "topology/topology_node.h"

namespace flowscope {

// The names that fit a path which is not typed to its end: the children of the place that stands before its last "/"
// (of the current directory without one) whose names begin with what stands behind it. A null text: all children of
// the current directory. Names of nodes with children carry a trailing "/". Bare names, in the order of the tree;
// none when the place does not exist. Throws std::out_of_range like resolvePath.
std::vector<std::string> collectPathCandidates(const char* partial, const PathComponents& current, TopologyNode& root);

}  // namespace flowscope
