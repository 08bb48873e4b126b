// The lines of a script.
#pragma once

#include <array>
#include <cstdio>
#include <string>

#include "traffic/open_file.h"

namespace flowscope {

// A file that is read line by line. Child processes do not inherit it.
class ScriptFile {
 public:
  // Opens the file (see openFile) and reads its first byte: a folder opens, but cannot be read.
  explicit ScriptFile(const std::string& name);

  // Whether the file can be read. If too few descriptors are free, one line on standard error has said so.
  bool isOpen() const { return file_ != nullptr; }

  // Whether the end of the file was read. Only an empty line follows.
  bool atEnd() const { return std::feof(file_.get()) != 0; }

  // Returns the next line without its line end, valid until the next call. A line ends at 999 characters and at a zero
  // byte. After a longer line, after an error and at the end of the file the line is empty. Call this only while
  // isOpen().
  const char* nextLine();

 private:
  // A line and its terminator.
  static constexpr std::size_t LineSize = 1000;

  OwnedFile file_;
  std::array<char, LineSize> line_{};
  bool failed_ = false;
};

}  // namespace flowscope
