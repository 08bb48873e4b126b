#include "topology/topology_node.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace flowscope {

namespace {

// With fewer children, or fewer searches, a linear search costs less than sorting.
constexpr std::size_t ManyChildren = 32;
constexpr unsigned ManySearches = 8;

}  // namespace

TopologyNode::TopologyNode() = default;

TopologyNode::TopologyNode(std::string_view nodeName) : name(nodeName) {}

TopologyNode::~TopologyNode() { removeChildren(); }

TopologyNode& TopologyNode::addChild(std::string_view childName) {
  notes_.reset();
  children.push_back(std::make_unique<TopologyNode>(childName));
  return *children.back();
}

void TopologyNode::removeChildren() {
  notes_.reset();
  Children pending = std::move(children);
  while (!pending.empty()) {
    const std::unique_ptr<TopologyNode> node = std::move(pending.back());
    pending.pop_back();
    pending.insert(pending.end(), std::make_move_iterator(node->children.begin()),
                   std::make_move_iterator(node->children.end()));
    node->children.clear();
  }
}

TopologyNode* TopologyNode::findChild(std::string_view childName) const {
  const std::size_t position = findChildFrom(0, childName);
  return position == children.size() ? nullptr : children[position].get();
}

std::size_t TopologyNode::findChildFrom(std::size_t from, std::string_view childName) const {
  const auto nameAt = [this](std::size_t position) { return std::string_view(children[position]->name); };
  if (children.size() < ManyChildren || notes().searches < ManySearches) {
    if (children.size() >= ManyChildren) ++notes().searches;
    while (from < children.size() && nameAt(from) != childName) ++from;
    return from;
  }
  auto& byName = notes().byName;
  if (byName.empty()) sortChildren(byName);
  const auto found = std::ranges::lower_bound(byName, std::pair(childName, from), {}, [&](std::uint32_t position) {
    return std::pair(nameAt(position), std::size_t{position});
  });
  return found == byName.end() || nameAt(*found) != childName ? children.size() : *found;
}

TopologyNode::Notes& TopologyNode::notes() const {
  if (notes_ == nullptr) notes_ = std::make_unique<Notes>();
  return *notes_;
}

void TopologyNode::sortChildren(std::vector<std::uint32_t>& byName) const {
  byName.resize(children.size());
  std::iota(byName.begin(), byName.end(), 0U);
  std::ranges::sort(byName, {}, [this](std::uint32_t position) {
    return std::pair(std::string_view(children[position]->name), position);
  });
}

}  // namespace flowscope
