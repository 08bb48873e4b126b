#include "topology/topology_node.h"

#include <iterator>
#include <utility>

namespace flowscope {

TopologyNode::~TopologyNode() {
  Children pending = std::move(children);
  while (!pending.empty()) {
    const std::unique_ptr<TopologyNode> node = std::move(pending.back());
    pending.pop_back();
    pending.insert(pending.end(), std::make_move_iterator(node->children.begin()),
                   std::make_move_iterator(node->children.end()));
    node->children.clear();
  }
}

TopologyNode& TopologyNode::addChild(std::string_view childName) {
  children.push_back(std::make_unique<TopologyNode>(childName));
  return *children.back();
}

TopologyNode* TopologyNode::findChild(std::string_view childName) const {
  for (const auto& child : children) {
    if (child->name == childName) return child.get();
  }
  return nullptr;
}

}  // namespace flowscope
