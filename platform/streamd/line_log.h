// The log of the program.
#pragma once

#include <cstddef>
#include <string_view>

namespace streamd {

// Writes lines to a descriptor, each behind the name of the program, and never waits for who reads them: what finds no
// room is left out, and counted in front of the next line that is written. One thread at a time.
class LineLog {
 public:
  explicit LineLog(int descriptor) : descriptor_(descriptor) {}

  // line: without its line end.
  void write(std::string_view line);

 private:
  int descriptor_;
  std::size_t leftOut_ = 0;
};

}  // namespace streamd
