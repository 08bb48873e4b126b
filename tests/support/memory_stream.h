// A stdio stream whose bytes a test can read.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace flowscope::test {

class MemoryStream {
 public:
  MemoryStream() : stream_(open_memstream(&bytes_, &size_)) {}
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;
  ~MemoryStream() {
    std::fclose(stream_);
    std::free(bytes_);
  }

  std::FILE* stream() { return stream_; }

  // Everything written since the last take.
  std::string take() {
    std::fflush(stream_);
    std::string text(bytes_ + taken_, size_ - taken_);
    taken_ = size_;
    return text;
  }

 private:
  char* bytes_ = nullptr;
  std::size_t size_ = 0;
  std::size_t taken_ = 0;
  std::FILE* stream_;
};

}  // namespace flowscope::test
