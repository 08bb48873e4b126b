#include "core/manual_path.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <system_error>

namespace flowscope {
namespace {

constexpr std::string_view Variable = "MANPATH=";

// The environment with an extended MANPATH.
class Extended {
 public:
  explicit Extended(std::string_view folder)
      // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment
      : entry_(std::string(Variable) + extendedManualPath(folder, std::getenv("MANPATH"))) {
    for (char** at = environ; at != nullptr && *at != nullptr; ++at) {
      if (!std::string_view(*at).starts_with(Variable)) entries_.push_back(*at);
    }
    entries_.push_back(entry_.data());
    entries_.push_back(nullptr);
  }

  char** entries() { return entries_.data(); }

 private:
  std::string entry_;
  std::vector<char*> entries_;
};

}  // namespace

std::optional<std::string> manualFolder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::nullopt : manualFolderOf(program);
}

std::optional<std::string> manualFolderOf(const std::filesystem::path& program) {
  std::error_code error;
  const auto folder = program.parent_path().parent_path() / "share/man";
  // A list of folders cannot hold one with a colon.
  if (!std::filesystem::is_directory(folder, error) || folder.native().find(':') != std::string::npos) {
    return std::nullopt;
  }
  return folder.native();
}

std::string extendedManualPath(std::string_view folder, const char* before) {
  const std::string_view rest = before == nullptr ? std::string_view() : before;
  std::string path = std::string(folder).append(":").append(rest);
  return path.ends_with(':') ? path : path + ':';
}

// setenv would change the list while another thread may read it. This replaces the whole list; both lists, and what
// they point to, stay valid for the life of the process.
ManualPathScope::ManualPathScope() {
  static const auto folder = manualFolder();
  if (!folder) return;
  static Extended extended(*folder);
  before_ = std::atomic_ref(environ).exchange(extended.entries());
}

ManualPathScope::~ManualPathScope() {
  if (before_ != nullptr) std::atomic_ref(environ).store(before_);
}

}  // namespace flowscope
