#include "topology/change_directory.h"

#include <optional>
#include <utility>

namespace flowscope {

ResultCode changeDirectory(TopologyShell& shell, const char* path) {
  std::optional<PathComponents> target = PathComponents();
  if (path != nullptr) target = lookupPath(resolvePath(path, shell.currentPath()), shell.tree());
  if (!target) return ResultSilent;
  shell.currentPath() = std::move(*target);
  shell.pathChanged();
  shell.output().resetPaging();
  return ResultOk;
}

}  // namespace flowscope
