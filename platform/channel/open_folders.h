// Folders in which other users can change where a path leads.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace channel {

// What is at a path itself: a symbolic link is not followed.
struct PathEntry {
  std::uint32_t owner = 0;
  mode_t mode = 0;     // as in struct stat
  std::string target;  // of a symbolic link
};

// Returns what is at this absolute path; nullopt if there is nothing, or if it cannot be looked up.
using LookUp = std::function<std::optional<PathEntry>(const std::string& path)>;

// Follows an absolute path as the system does, through all symbolic links on its way. Returns why other users than root
// and this one could have changed where it leads: a folder on the way is sticky, may be written by all users or belongs
// to another user. Of several such folders, the last one is named. nullopt if only root and this user, and groups that
// they let write, could have.
//
// Who is to be kept out can only act in such a folder. So it does not matter when the path is followed: up to the first
// of these folders, the way is the same each time.
std::optional<std::string> whyOthersMayListen(const std::string& path, std::uint32_t user, const LookUp& lookUp);

// The same for a path of this process, which may be relative to the current folder.
std::optional<std::string> whyOthersMayListen(const std::string& path, std::uint32_t user);

}  // namespace channel
