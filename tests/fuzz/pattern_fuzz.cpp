// Arbitrary paths and patterns on a small tree that the bytes lay out, too: what a path leads to and what a pattern
// matches must be there.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "topology/path.h"
#include "topology/pattern.h"
#include "topology/topology_node.h"

namespace {

using namespace flowscope;

void require(bool met) {
  if (!met) std::abort();
}

// Each byte adds a node: below the last one, beside it, or a level or two up.
void build(TopologyNode& root, std::string_view plan) {
  static constexpr std::string_view Names[] = {"a", "b", "ab", "Source", "Sink", ".", "[]", "x.y"};
  std::vector<TopologyNode*> way{&root};
  for (const char step : plan) {
    const auto bits = static_cast<unsigned char>(step);
    const std::size_t up = bits >> 3 & 3;
    way.resize(std::max<std::size_t>(1, way.size() - std::min(up, way.size())));
    way.push_back(&way.back()->addChild(Names[bits & 7]));
  }
}

void checkPath(const std::string& text, const PathComponents& base, TopologyNode& root) {
  std::string resolved;
  try {
    resolved = resolvePath(text, base);
  } catch (const std::out_of_range&) {
    require(text.empty() || (text[0] == '~' && base.empty()));
    return;
  }
  require(resolved.empty() || (resolved.front() == '/' && resolved.back() != '/'));
  const auto found = lookupPath(resolved, root);
  if (!found) return;
  const TopologyNode& node = findNode(*found, root);
  require(found->empty() ? &node == &root : node.name == found->back());
}

void checkPattern(const std::string& pattern, const TopologyNode& root) {
  std::vector<std::string> all;
  collectNodePaths(static_cast<std::size_t>(std::count(pattern.begin(), pattern.end(), '/')) + 1, root.children, all);
  auto next = all.begin();
  for (const std::string& match : expandPattern(pattern, root)) {
    next = std::find(next, all.end(), match);
    require(next != all.end());
    ++next;
  }
}

}  // namespace

// The tree, a line end, the current directory (the root, if it is not there), a line end, the path.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> parts;
  const std::string input(data, data + size);
  std::size_t begin = 0;
  while (parts.size() < 2) {
    const std::size_t end = input.find('\n', begin);
    if (end == std::string::npos) return 0;
    parts.push_back(input.substr(begin, end - begin));
    begin = end + 1;
  }
  const std::string text = input.substr(begin);
  if (parts[0].size() > 60 || text.find('\0') != std::string::npos) return 0;

  TopologyNode root("/");
  build(root, parts[0]);
  const PathComponents base = lookupPath(parts[1], root).value_or(PathComponents());
  checkPath(text, base, root);
  checkPattern(text, root);
  return 0;
}
