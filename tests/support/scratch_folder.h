// A folder of its own for one test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace testsupport {

class ScratchFolder {
 public:
  // Makes a new, empty folder below the system's folder for temporary files. Throws std::system_error on failure.
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  // Removes the folder with everything in it.
  ~ScratchFolder();

  const std::filesystem::path& path() const { return path_; }

  // Writes a file, name relative to the folder; missing folders on the way are made. Throws std::system_error.
  void write(std::string_view name, std::string_view content) const;

 private:
  std::filesystem::path path_;
};

}  // namespace testsupport
