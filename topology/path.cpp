#include "topology/path.h"

#include <utility>

#include "topology/pattern.h"

namespace flowscope {

std::string absolutePath(const PathComponents& components) {
  std::string text;
  for (const std::string& component : components) {
    text += '/';
    text += component;
  }
  return text;
}

std::string resolvePath(std::string text, const PathComponents& base) {
  if (text.at(0) == '~') text.replace(0, 1, "/" + base.at(0));

  PathComponents working = base;
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t slash = rest.find('/');
    const std::string_view head = rest.substr(0, slash);
    if (slash == 0) {
      working.clear();
    } else if (head != "..") {
      working.emplace_back(head);
    } else if (!working.empty()) {
      working.pop_back();
    }
    if (slash == std::string_view::npos) break;
    rest.remove_prefix(slash + 1);
  }
  return absolutePath(working);
}

std::optional<PathComponents> lookupPath(std::string_view path, const TopologyNode& root) {
  PathComponents result;
  if (path.empty()) return result;

  PathComponents pieces;
  splitAtChar(path, pieces, '/');
  const TopologyNode* node = &root;
  bool found = false;
  for (std::string& piece : pieces) {
    const TopologyNode* child = node->findChild(piece);
    found = child != nullptr;
    // In "./x" the dot has a meaning for the user: nullopt is better than the "x" of another directory.
    if (!found && piece == ".") return std::nullopt;
    if (!found) continue;
    result.push_back(std::move(piece));
    node = child;
  }
  if (!found) return std::nullopt;
  return result;
}

TopologyNode& findNode(const PathComponents& components, TopologyNode& root) {
  TopologyNode* node = &root;
  for (const std::string& component : components) {
    if (TopologyNode* child = node->findChild(component)) node = child;
  }
  return *node;
}

}  // namespace flowscope
