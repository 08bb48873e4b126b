// One name in the topology tree, with the names below it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/listing_node.h"

namespace flowscope {

// A node with children is a directory, one without is a leaf; there is no other distinction. Names are compared byte
// for byte. The tree is built and read on the thread that runs commands.
struct TopologyNode final : ListingNode {
  using Children = std::vector<std::unique_ptr<TopologyNode>>;

  TopologyNode() = default;
  explicit TopologyNode(std::string_view nodeName) : name(nodeName) {}
  TopologyNode(const TopologyNode&) = delete;
  TopologyNode& operator=(const TopologyNode&) = delete;

  // Frees the whole subtree, however deep, without recursion.
  ~TopologyNode() override;

  // Appends a child and answers it. The reference lives as long as the child.
  TopologyNode& addChild(std::string_view childName);

  // The first child with this name, or null. Linear in the number of children.
  TopologyNode* findChild(std::string_view childName) const;

  const char* listedName() const override { return name.c_str(); }
  std::uint32_t listedAttributes() const override { return attributes; }
  std::uint32_t listedColour() const override { return colour; }
  std::size_t listedChildCount() const override { return children.size(); }
  const ListingNode& listedChild(std::size_t index) const override { return *children[index]; }

  std::string name;
  std::uint32_t attributes = 0;  // how listings print the name: attribute bits and colour of a StyledText
  std::uint32_t colour = 0;
  Children children;  // in the order of searches and listings
};

}  // namespace flowscope
