#include "topology/listing.h"

#include <algorithm>
#include <string>
#include <vector>

#include "terminal/listing_layout.h"
#include "terminal/styled_text.h"
#include "topology/path.h"
#include "topology/pattern.h"
#include "topology/refresh.h"

namespace flowscope {

namespace {

bool drawTree(ConsoleOutput& output, const TopologyNode& node, bool firstOutput, bool paged) {
  if (firstOutput) output.resetPaging();
  return std::all_of(node.children.begin(), node.children.end(),
                     [&](const auto& child) { return drawTreeLevel(output, 0, *child, false, paged); });
}

bool drawColumns(ConsoleOutput& output, const TopologyNode& node, bool firstOutput, bool paged) {
  std::vector<std::string> names;
  names.reserve(node.children.size());
  for (const auto& child : node.children) names.push_back(child->name);
  return listColumns(output, names, firstOutput, paged);
}

StyledText plain(const char* text) { return {AttrNone, ColourDefault, text}; }

}  // namespace

ResultCode listPath(TopologyShell& shell, Options options, const char* path, bool firstOutput) {
  PathComponents place = shell.currentPath();
  if (path != nullptr) {
    auto found = lookupPath(path, shell.tree());
    if (!found) return ResultSilent;
    place = std::move(*found);
  }
  refreshTopology(shell, place);
  const TopologyNode& node = findNode(place, shell.tree());
  const bool paged = (options & PagedListing) != 0;
  const bool ended = (options & TreeListing) != 0 ? drawTree(shell.output(), node, firstOutput, paged)
                                                  : drawColumns(shell.output(), node, firstOutput, paged);
  if (ended) return ResultOk;
  refreshTopology(shell, place);
  return ResultSilent;
}

ResultCode listCommand(TopologyShell& shell, Options options, const char* path) {
  if (path == nullptr) return listPath(shell, options, nullptr, true);
  const auto matches = expandPattern(resolvePath(path, shell.currentPath()), shell.tree());
  if (matches.empty()) return ResultSilent;
  ResultCode code = ResultSilent;
  for (const auto& match : matches) {
    // A listing that the user stopped, or a match that no longer exists, ends the command silently with ResultOk.
    if (!shell.output().writeLineFresh(plain(""), &match == &matches.front(), true)) return ResultOk;
    if (matches.size() > 1) {
      const std::string header = match + ":";
      if (!shell.output().writeLine(plain(header.c_str()), (options & PagedListing) != 0)) return ResultOk;
    }
    code = listPath(shell, options, match.c_str(), false);
    if (code == ResultSilent) return ResultOk;
  }
  return code;
}

}  // namespace flowscope
