#include "tests/support/scratch_folder.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

namespace testsupport {

ScratchFolder::ScratchFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "flowscope-test-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), name);
  }
  path_ = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void ScratchFolder::write(std::string_view name, std::string_view content) const {
  const std::filesystem::path file = path_ / name;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) {
    throw std::system_error(EIO, std::generic_category(), file.string());
  }
}

}  // namespace testsupport
