#include "platform/streamd/socket_folder.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace streamd {
namespace {

constexpr mode_t FolderMode = 0750;

std::string causeAt(const std::string& folder) { return folder + ": " + std::strerror(errno); }

// Returns why no socket may be in an existing folder.
std::optional<std::string> whyNotSafe(const std::string& folder) {
  struct stat found {};
  if (stat(folder.c_str(), &found) < 0) return causeAt(folder);
  // The lock says it when this is no folder.
  if (!S_ISDIR(found.st_mode) || (found.st_mode & S_IWOTH) == 0 || (found.st_mode & S_ISVTX) != 0) return std::nullopt;
  return folder + ": all users may replace files in this folder; remove their write permission, or make it sticky";
}

}  // namespace

std::optional<std::string> prepareFolder(const std::string& folder) {
  if (folder.empty()) return whyNotSafe(".");
  if (mkdir(folder.c_str(), FolderMode) < 0) return errno == EEXIST ? whyNotSafe(folder) : causeAt(folder);
  // Restores what the umask removed.
  return chmod(folder.c_str(), FolderMode) == 0 ? std::nullopt : std::optional(causeAt(folder));
}

}  // namespace streamd
