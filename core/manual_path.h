// Where the viewer of manual pages finds the pages of this program.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace flowscope {

// Returns the folder of the running program's manual pages (see manualFolderOf), with symbolic links resolved.
std::optional<std::string> manualFolder();

// Returns the folder of a program's manual pages: share/man beside the folder that contains the program, in a build
// tree as in an installation. nullopt if it does not exist or its path has a colon. Reads the disk.
std::optional<std::string> manualFolderOf(const std::filesystem::path& program);

// Returns MANPATH with folder in front. It ends in a colon, which stands for the system's own pages. before: the
// present MANPATH, null if it is not set.
std::string extendedManualPath(std::string_view folder, const char* before);

// Extends MANPATH while the object lives, so that child processes find the pages of this program. Changes nothing
// without a folder of pages. One object at a time, on one thread; other threads may read the environment but must not
// change it.
class ManualPathScope {
 public:
  ManualPathScope();
  ManualPathScope(const ManualPathScope&) = delete;
  ManualPathScope& operator=(const ManualPathScope&) = delete;
  ~ManualPathScope();

 private:
  char** before_ = nullptr;  // null if nothing was changed
};

}  // namespace flowscope
