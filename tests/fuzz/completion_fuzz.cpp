// Completion of arbitrary paths in an arbitrary tree: the first bytes build the tree, the rest is what was typed.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/completion.h"
#include "topology/path_completion.h"

namespace {

using flowscope::PathComponents;
using flowscope::TopologyNode;

void require(bool holds) {
  if (!holds) std::abort();
}

// One node for each byte: the low bits choose how far up its parent is, the others name it.
void buildTree(TopologyNode& root, std::string_view plan, PathComponents& deepest) {
  std::vector<TopologyNode*> way{&root};
  for (const char step : plan) {
    const auto value = static_cast<unsigned char>(step);
    way.resize(way.size() - std::min<std::size_t>(value & 3U, way.size() - 1));
    if (way.size() > 8) way.resize(8);
    way.push_back(
        &way.back()->addChild(std::string(1 + (value >> 6U), static_cast<char>('a' + ((value >> 2U) & 15U)))));
  }
  for (std::size_t depth = 1; depth < way.size(); ++depth) deepest.push_back(way[depth]->name);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t planned = std::min<std::size_t>(data[0], size - 1);
  const std::string_view all(reinterpret_cast<const char*>(data) + 1, size - 1);
  TopologyNode root("/");
  PathComponents current;
  buildTree(root, all.substr(0, planned), current);
  const std::string typed(all.substr(planned));
  try {
    const auto candidates = flowscope::collectPathCandidates(typed.c_str(), current, root);
    const std::string prefix(typed.c_str(), std::string_view(typed.c_str()).size());
    const std::string last = prefix.substr(prefix.rfind('/') + 1);
    for (const auto& candidate : candidates) require(candidate.starts_with(last));
    const auto common = flowscope::commonPrefix(candidates);
    require(candidates.empty() || common.starts_with(last));
  } catch (const std::out_of_range&) {
    require(typed.starts_with('~'));
  }
  static constexpr std::string_view Names[] = {"cat", "cd", "con", "dis"};
  const auto commands = flowscope::matchCommandSet(Names, typed.c_str());
  require(!commands || commands->size() <= 4);
  return 0;
}
