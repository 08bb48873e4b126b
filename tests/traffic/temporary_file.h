// A file for the time of a test.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace flowscope {

// Exists, and is empty at first.
class TemporaryFile {
 public:
  TemporaryFile() { ::close(::mkstemp(path_.data())); }
  explicit TemporaryFile(const std::string& content) : TemporaryFile() {
    std::ofstream(path_, std::ios::binary) << content;
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { ::unlink(path_.c_str()); }

  const char* name() const { return path_.c_str(); }

  std::string content() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // Of each descriptor of this process that leads here: its position in the file.
  std::vector<std::size_t> positions() const {
    std::vector<std::size_t> found;
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      if (std::filesystem::read_symlink(each, gone) != std::filesystem::canonical(path_)) continue;
      std::ifstream info("/proc/self/fdinfo/" + each.path().filename().string());
      std::string label;
      info >> label >> found.emplace_back();
    }
    return found;
  }

 private:
  std::string path_ = testing::TempDir() + "traffic_XXXXXX";
};

}  // namespace flowscope
