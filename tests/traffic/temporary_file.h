// A file for the time of a test.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

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

 private:
  std::string path_ = testing::TempDir() + "traffic_XXXXXX";
};

}  // namespace flowscope
