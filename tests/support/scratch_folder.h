// A temporary folder for one test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace testsupport {

class ScratchFolder {
 public:
  // Makes a new, empty folder in the system's folder for temporary files. Throws std::system_error on failure.
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  // Removes the folder with everything in it.
  ~ScratchFolder();

  const std::filesystem::path& path() const { return path_; }

  // Writes a file and makes missing folders on the way. name is relative to the folder. Throws std::system_error.
  void write(std::string_view name, std::string_view content) const;

 private:
  std::filesystem::path path_;
};

}  // namespace testsupport
