#include "platform/channel/open_folders.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>
#include <vector>

namespace channel {
namespace {

namespace fs = std::filesystem;

// As many as the system follows (path_resolution(7)).
constexpr int MostLinks = 40;

// The names of a path that are still to be looked up; the next one is last.
using Names = std::vector<std::string>;

void putInFront(const fs::path& path, Names& names) {
  const Names added(path.begin(), path.end());
  names.insert(names.end(), added.rbegin(), added.rend());
}

std::optional<std::string> whyOpen(const fs::path& folder, const PathEntry& entry, std::uint32_t user) {
  if ((entry.mode & (S_ISVTX | S_IWOTH)) != 0) return "all users may listen in " + folder.string();
  if (entry.owner == 0 || entry.owner == user) return std::nullopt;
  return folder.string() + " belongs to user " + std::to_string(entry.owner);
}

std::optional<PathEntry> lookUpHere(const std::string& path) {
  struct stat found {};
  if (lstat(path.c_str(), &found) < 0) return std::nullopt;
  PathEntry entry{found.st_uid, found.st_mode, {}};
  if (!S_ISLNK(found.st_mode)) return entry;
  std::error_code unknown;
  entry.target = fs::read_symlink(path, unknown).string();
  return unknown ? std::nullopt : std::optional(std::move(entry));
}

}  // namespace

std::optional<std::string> whyOthersMayListen(const std::string& path, std::uint32_t user, const LookUp& lookUp) {
  std::optional<std::string> why;
  fs::path at;
  Names names;
  putInFront(path, names);
  for (int links = 0; !names.empty();) {
    const fs::path name = names.back();
    names.pop_back();
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      // The folder's parent was on the way to it.
      at = at.parent_path();
      continue;
    }
    // A name that is absolute is the root.
    const fs::path next = at / name;
    const auto entry = lookUp(next.string());
    if (!entry) break;
    if (S_ISLNK(entry->mode)) {
      if (++links > MostLinks) break;
      putInFront(entry->target, names);
      continue;
    }
    if (!S_ISDIR(entry->mode)) break;
    at = next;
    if (auto reason = whyOpen(at, *entry, user)) why = std::move(reason);
  }
  return why;
}

std::optional<std::string> whyOthersMayListen(const std::string& path, std::uint32_t user) {
  std::error_code unknown;
  const fs::path absolute = fs::absolute(path, unknown);
  if (unknown) return "the path of the current folder is not known";
  return whyOthersMayListen(absolute.string(), user, lookUpHere);
}

}  // namespace channel
