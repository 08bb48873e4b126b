// Trees for tests, written as indented names.
#pragma once

#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "topology/topology_node.h"

namespace flowscope {

// One name a line, two blanks deeper than its parent.
inline std::unique_ptr<TopologyNode> treeOf(const std::string& outline) {
  auto root = std::make_unique<TopologyNode>("/");
  std::vector<TopologyNode*> way{root.get()};
  std::istringstream lines(outline);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t indent = line.find_first_not_of(' ');
    way.resize(indent / 2 + 1);
    way.push_back(&way.back()->addChild(line.substr(indent)));
  }
  return root;
}

}  // namespace flowscope
