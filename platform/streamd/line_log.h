// The log of the program.
#pragma once

#include <cstddef>
#include <string_view>

namespace streamd {

// Writes lines to a descriptor, each after the name of the program. Never blocks on a slow reader: lines that find no
// room are left out, and the next line that is written says how many. Not thread-safe.
class LineLog {
 public:
  explicit LineLog(int descriptor) : descriptor_(descriptor) {}

  // line has no line end.
  void write(std::string_view line);

 private:
  int descriptor_;
  std::size_t leftOut_ = 0;
};

}  // namespace streamd
