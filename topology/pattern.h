// Patterns over the topology tree: which absolute paths a text with wildcards names. Nothing here keeps state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "topology/topology_node.h"

namespace flowscope {

// Appends the pieces of text between separators to result. Empty pieces in front of a separator are dropped; the
// piece behind the last one is always appended, even when it is empty.
void splitAtChar(std::string_view text, std::vector<std::string>& result, char separator);

// Appends the absolute paths of the nodes below the root down to maxDepth (the root's children have depth 1), each
// directly before its subtree, in the order of the tree. Nodes are visited once.
void collectNodePaths(std::size_t maxDepth, const TopologyNode::Children& children, std::vector<std::string>& result);

// The absolute paths that a pattern matches, in the order of the tree; empty when there is none, when the pattern is no
// expression, and when it goes beyond the bounds of pattern_bounds.h. The pattern is an absolute path (see resolvePath)
// and a POSIX basic regular expression in which "*" stands for any text, "/" included (so it counts as two bytes of the
// bounds); but the search goes no deeper than the pattern has names. A path counts only when the whole of it matches.
// What the engine makes of odd expressions is the engine's.
std::vector<std::string> expandPattern(const std::string& pattern, const TopologyNode& root);

}  // namespace flowscope
