// One name in the topology tree, with the names below it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/listing_node.h"

namespace flowscope {

// Which children of a node a refresh has brought up to date, with all that is below them (see refreshTopology).
struct RefreshedChildren {
  std::uint64_t round = 0;   // the refreshes that this holds for; 0 is none of them
  std::size_t from = 0;      // this child and all behind it
  std::vector<bool> single;  // others, by their positions; may end early
};

// A node with children is a directory, one without is a leaf; there is no other distinction. Names are compared byte
// for byte. The tree is built and read on the thread that runs commands.
struct TopologyNode final : ListingNode {
  using Children = std::vector<std::unique_ptr<TopologyNode>>;

  TopologyNode();
  explicit TopologyNode(std::string_view nodeName);
  TopologyNode(const TopologyNode&) = delete;
  TopologyNode& operator=(const TopologyNode&) = delete;

  // Frees the whole subtree, however deep, without recursion.
  ~TopologyNode() override;

  // Appends a child and answers it. The reference lives as long as the child.
  TopologyNode& addChild(std::string_view childName);

  // Frees all that is below.
  void removeChildren();

  // The first child with this name, or null. Among many children it costs the logarithm of their number; the first such
  // search after a change of the children sorts them.
  TopologyNode* findChild(std::string_view childName) const;

  // The position of the first child with this name that does not stand before position from; the number of children
  // when there is none. Costs as much as findChild.
  std::size_t findChildFrom(std::size_t from, std::string_view childName) const;

  // For refreshTopology. Valid until the children change.
  RefreshedChildren& refreshedChildren() { return notes().refreshed; }

  const char* listedName() const override { return name.c_str(); }
  std::uint32_t listedAttributes() const override { return attributes; }
  std::uint32_t listedColour() const override { return colour; }
  std::size_t listedChildCount() const override { return children.size(); }
  const ListingNode& listedChild(std::size_t index) const override { return *children[index]; }

  std::string name;              // stays as it is once the node stands below another
  std::uint32_t attributes = 0;  // how listings print the name: attribute bits and colour of a StyledText
  std::uint32_t colour = 0;
  // In the order of searches and listings. Changed by addChild and removeChildren alone.
  Children children;

 private:
  // What only some nodes need; most have no children.
  struct Notes {
    unsigned searches = 0;              // of names among the children as they are
    std::vector<std::uint32_t> byName;  // positions of the children by names, then as they stand; empty at first
    RefreshedChildren refreshed;
  };
  Notes& notes() const;
  void sortChildren(std::vector<std::uint32_t>& byName) const;

  mutable std::unique_ptr<Notes> notes_;
};

}  // namespace flowscope
