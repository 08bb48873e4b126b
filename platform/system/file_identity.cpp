#include "platform/system/file_identity.h"

#include <sys/stat.h>

namespace sys {

std::optional<FileIdentity> FileIdentity::of(const std::string& path) {
  struct stat file {};
  if (lstat(path.c_str(), &file) < 0) return std::nullopt;
  return FileIdentity{file.st_dev, file.st_ino};
}

std::optional<FileIdentity> FileIdentity::of(int descriptor) {
  struct stat file {};
  if (fstat(descriptor, &file) < 0) return std::nullopt;
  return FileIdentity{file.st_dev, file.st_ino};
}

}  // namespace sys
