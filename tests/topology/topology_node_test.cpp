#include "topology/topology_node.h"

#include <gtest/gtest.h>

#include "tests/topology/sample_tree.h"

namespace flowscope {
namespace {

TEST(TopologyNode, StartsPlain) {
  const TopologyNode node("Sink");
  EXPECT_EQ(node.name, "Sink");
  EXPECT_EQ(node.attributes, 0U);
  EXPECT_EQ(node.colour, 0U);
  EXPECT_TRUE(node.children.empty());
  EXPECT_EQ(TopologyNode().name, "");
}

TEST(TopologyNode, KeepsTheOrderOfItsChildren) {
  TopologyNode node;
  for (const char* name : {"b", "a", "c"}) node.addChild(name);
  std::string names;
  for (const auto& child : node.children) names += child->name;
  EXPECT_EQ(names, "bac");
}

TEST(TopologyNode, FindsTheFirstChildOfAName) {
  TopologyNode node;
  TopologyNode& first = node.addChild("twin");
  node.addChild("twin");
  EXPECT_EQ(node.findChild("twin"), &first);
  EXPECT_EQ(node.findChild("Twin"), nullptr);
  EXPECT_EQ(node.findChild("twi"), nullptr);
  EXPECT_EQ(node.findChild(""), nullptr);
}

TEST(TopologyNode, FreesADeepTree) {
  auto root = std::make_unique<TopologyNode>("/");
  TopologyNode* node = root.get();
  for (int depth = 0; depth < 1'000'000; ++depth) node = &node->addChild("n");
  root.reset();
  EXPECT_EQ(root, nullptr);
}

TEST(TopologyNode, FreesAWideTreeByPart) {
  const auto root = treeOf("a\n  b\n    c\n    d\n  e\nf");
  root->findChild("a")->children.clear();
  EXPECT_TRUE(root->findChild("a")->children.empty());
  EXPECT_NE(root->findChild("f"), nullptr);
}

TEST(TopologyNode, IsSmall) { EXPECT_LE(sizeof(TopologyNode), 80U); }

}  // namespace
}  // namespace flowscope
