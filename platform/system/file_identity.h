// Which file is at a path.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace sys {

// Equal for two names of one file, as long as it exists.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  // The file at the path, without following a symbolic link at its end; nullopt if there is none.
  static std::optional<FileIdentity> of(const std::string& path);

  // An open file. nullopt for a closed descriptor.
  static std::optional<FileIdentity> of(int descriptor);

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

}  // namespace sys
