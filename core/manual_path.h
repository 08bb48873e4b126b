// Where the viewer of manual pages finds those of this program.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace flowscope {

// The folder of the manual pages that belong to the running program (see manualFolderOf), with symbolic links resolved.
std::optional<std::string> manualFolder();

// The folder of the manual pages that belong to a program: share/man beside the folder in which it lies, in a build
// tree as in an installation. Nothing when it is not there, and when its path has a colon. Reads the disk.
std::optional<std::string> manualFolderOf(const std::filesystem::path& program);

// MANPATH with folder in front. It ends in a colon, which stands for the system's own pages. before: the present
// MANPATH, null when it is not set.
std::string extendedManualPath(std::string_view folder, const char* before);

// While it lives, programs that are started find the pages of this program: MANPATH is extended. Without a folder of
// pages it changes nothing. One at a time, in one thread; other threads may read the environment, none may change it.
class ManualPathScope {
 public:
  ManualPathScope();
  ManualPathScope(const ManualPathScope&) = delete;
  ManualPathScope& operator=(const ManualPathScope&) = delete;
  ~ManualPathScope();

 private:
  char** before_ = nullptr;  // null when nothing was changed
};

}  // namespace flowscope
