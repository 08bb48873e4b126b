// A named node of the topology tree, with the nodes below it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/listing_node.h"

namespace flowscope {

// Which children of a node a refresh has updated, with everything below them (see refreshTopology).
struct RefreshedChildren {
  std::uint64_t round = 0;   // the round that this is valid for; 0: none
  std::size_t from = 0;      // this child and all behind it
  std::vector<bool> single;  // other children, by position; may be shorter than the list of children
};

// A node with children is a directory, a node without is a leaf; there is no other distinction. Names are compared byte
// for byte. The thread that runs commands builds and reads the tree.
struct TopologyNode final : ListingNode {
  using Children = std::vector<std::unique_ptr<TopologyNode>>;

  TopologyNode();
  explicit TopologyNode(std::string_view nodeName);
  TopologyNode(const TopologyNode&) = delete;
  TopologyNode& operator=(const TopologyNode&) = delete;

  // Frees the whole subtree, however deep, without recursion.
  ~TopologyNode() override;

  // Appends a child and returns it. The reference is valid as long as the child exists.
  TopologyNode& addChild(std::string_view childName);

  // Frees everything below this node.
  void removeChildren();

  // Returns the first child with this name, or null. Among many children a search takes logarithmic time; the first
  // such search after the children change sorts them.
  TopologyNode* findChild(std::string_view childName) const;

  // Returns the position of the first child with this name at or behind position from; the number of children if there
  // is none. Costs as much as findChild.
  std::size_t findChildFrom(std::size_t from, std::string_view childName) const;

  // For refreshTopology. Valid until the children change.
  RefreshedChildren& refreshedChildren() { return notes().refreshed; }

  const char* listedName() const override { return name.c_str(); }
  std::uint32_t listedAttributes() const override { return attributes; }
  std::uint32_t listedColour() const override { return colour; }
  std::size_t listedChildCount() const override { return children.size(); }
  const ListingNode& listedChild(std::size_t index) const override { return *children[index]; }

  std::string name;              // must not change once the node has a parent
  std::uint32_t attributes = 0;  // how listings print the name: attribute bits and colour of a StyledText
  std::uint32_t colour = 0;
  // In the order of searches and listings. Only addChild and removeChildren change it.
  Children children;

 private:
  // What only some nodes need; most have no children.
  struct Notes {
    unsigned searches = 0;              // for names, since the children changed
    std::vector<std::uint32_t> byName;  // positions of the children, sorted by name, then by position; empty at first
    RefreshedChildren refreshed;
  };
  Notes& notes() const;
  void sortChildren(std::vector<std::uint32_t>& byName) const;

  mutable std::unique_ptr<Notes> notes_;
};

}  // namespace flowscope
