#include "topology/path_completion.h"

#include <string_view>

#include "topology/pattern.h"

namespace flowscope {

namespace {

// Returns the path of the node that the text before the last "/" names; nullopt if it does not exist.
std::optional<PathComponents> placeOf(std::string_view text, const PathComponents& current, const TopologyNode& root) {
  const auto slash = text.rfind('/');
  if (slash == std::string_view::npos) return current;
  if (slash == 0) return PathComponents();
  return lookupPath(resolvePath(std::string(text.substr(0, slash)), current), root);
}

}  // namespace

std::vector<std::string> collectPathCandidates(const char* partial, const PathComponents& current, TopologyNode& root) {
  std::string prefix;
  std::optional<PathComponents> place = current;
  if (partial != nullptr) {
    std::vector<std::string> pieces;
    splitAtChar(partial, pieces, '/');
    prefix = pieces.back();
    place = placeOf(partial, current, root);
  }
  std::vector<std::string> candidates;
  if (!place) return candidates;
  for (const auto& child : findNode(*place, root).children) {
    if (!child->name.starts_with(prefix)) continue;
    candidates.push_back(child->children.empty() ? child->name : child->name + '/');
  }
  return candidates;
}

}  // namespace flowscope
