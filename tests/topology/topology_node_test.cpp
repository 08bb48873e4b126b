#include "topology/topology_node.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

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

// Searches among many children find what a look at one after another would, whatever happens between them.
TEST(TopologyNode, FindsAmongManyChildren) {
  TopologyNode node;
  std::vector<std::string> names;
  std::mt19937 random(3);
  const auto check = [&] {
    for (int search = 0; search < 300; ++search) {
      const std::string name = std::to_string(random() % 120);
      const std::size_t from = random() % (names.size() + 1);
      const auto first = std::find(names.begin() + static_cast<std::ptrdiff_t>(from), names.end(), name);
      ASSERT_EQ(node.findChildFrom(from, name), static_cast<std::size_t>(first - names.begin()));
      const auto any = std::find(names.begin(), names.end(), name);
      TopologyNode* const child =
          any == names.end() ? nullptr : node.children[static_cast<std::size_t>(any - names.begin())].get();
      ASSERT_EQ(node.findChild(name), child);
    }
  };
  for (const int more : {10, 21, 1, 1, 100, 300}) {
    for (int count = 0; count < more; ++count) {
      names.push_back(std::to_string(random() % 100));
      node.addChild(names.back());
    }
    check();
  }
  node.removeChildren();
  names.clear();
  check();
  for (int count = 0; count < 50; ++count) node.addChild(names.emplace_back("9"));
  check();
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
  root->findChild("a")->removeChildren();
  EXPECT_TRUE(root->findChild("a")->children.empty());
  EXPECT_NE(root->findChild("f"), nullptr);
}

TEST(TopologyNode, IsSmall) { EXPECT_LE(sizeof(TopologyNode), 80U); }

}  // namespace
}  // namespace flowscope
