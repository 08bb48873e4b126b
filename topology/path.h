// Paths in the topology tree: from typed text to a node. No state, no input or output.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "topology/topology_node.h"

namespace flowscope {

// The names from the root down, outermost first. The empty list is the root.
using PathComponents = std::vector<std::string>;

// Returns the absolute form of a list: empty for the root, otherwise "/" before each name and none at the end.
std::string absolutePath(const PathComponents& components);

// Turns a typed path into its absolute form, relative to base. ".." is the parent (the root's is the root), a leading
// "~" is the top-level name of base, "." is an ordinary name. A double slash restarts at the root: "a//b" is "/b". Does
// not look at the tree: names that do not exist stay. Throws std::out_of_range for an empty text, and for "~" if base
// is the root.
std::string resolvePath(std::string text, const PathComponents& base);

// Checks an absolute path against the tree. Returns the names that it leads through; nullopt if its last name does not
// exist. Skips a missing name in the middle: "/a/zz/b" leads to "/a/b" if "a" has no "zz". But a "." that is no node's
// name gives nullopt.
std::optional<PathComponents> lookupPath(std::string_view path, const TopologyNode& root);

// Returns the node that a list of names leads to. Skips a name that does not exist, so there is always a result; the
// root for the empty list.
TopologyNode& findNode(const PathComponents& components, TopologyNode& root);

}  // namespace flowscope
