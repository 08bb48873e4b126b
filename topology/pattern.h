// Patterns over the topology tree: the absolute paths that a text with wildcards matches. No state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "topology/topology_node.h"

namespace flowscope {

// Appends the pieces of text between separators to result. Drops empty pieces in front of a separator; always appends
// the piece behind the last separator, even if it is empty.
void splitAtChar(std::string_view text, std::vector<std::string>& result, char separator);

// Appends the absolute paths of the nodes below the root down to maxDepth (the root's children have depth 1), each
// directly before its subtree, in the order of the tree. Visits each node once.
void collectNodePaths(std::size_t maxDepth, const TopologyNode::Children& children, std::vector<std::string>& result);

// Returns the absolute paths that a pattern matches, in the order of the tree; none if nothing matches, if the pattern
// is not a valid expression, or if it exceeds the bounds of pattern_bounds.h. The pattern is an absolute path (see
// resolvePath) and a POSIX basic regular expression in which "*" stands for any text, "/" included (so it counts as two
// bytes of the bounds); but the search goes no deeper than the pattern has names. A path matches only as a whole. The
// engine decides what odd expressions mean.
std::vector<std::string> expandPattern(const std::string& pattern, const TopologyNode& root);

}  // namespace flowscope
