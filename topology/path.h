// Paths through the topology tree: from what the user typed to a node. Nothing here keeps state or does input or
// output.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "topology/topology_node.h"

namespace flowscope {

// The names from the root down, outermost first. The empty list is the root.
using PathComponents = std::vector<std::string>;

// The absolute form of a list: empty for the root, otherwise "/" before each name and none at the end.
std::string absolutePath(const PathComponents& components);

// Turns a typed path into its absolute form, seen from base. ".." is the parent (the root's is the root), "~" in
// front is the top-level name of base, "." is an ordinary name. A doubled slash restarts at the root: "a//b" is
// "/b". The tree is not asked: names that do not exist survive. Throws std::out_of_range for an empty text, and for
// "~" when base is the root.
std::string resolvePath(std::string text, const PathComponents& base);

// Checks an absolute path against the tree and answers the names it leads through, or nothing when its last name is
// not there. A missing name in the middle is skipped: "/a/zz/b" leads to "/a/b" when "a" has no "zz". Only a "." that
// is no node's name leads nowhere.
std::optional<PathComponents> lookupPath(std::string_view path, const TopologyNode& root);

// The node that a list of names leads to. A name that is not there is skipped and the walk stays where it is, so
// there is always an answer; the root for the empty list.
TopologyNode& findNode(const PathComponents& components, TopologyNode& root);

}  // namespace flowscope
