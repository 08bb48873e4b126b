// The lines of a script.
#pragma once

#include <array>
#include <cstdio>
#include <string>

#include "traffic/open_file.h"

namespace flowscope {

// A file that is read line by line. Programs that its lines start do not inherit it.
class ScriptFile {
 public:
  // Opens the file (see openFile) and looks at its first byte: what opens but cannot be read, a folder, shows only
  // there.
  explicit ScriptFile(const std::string& name);

  // Whether it can be read. When it cannot for want of descriptors, one line on standard error has said so.
  bool isOpen() const { return file_ != nullptr; }

  // Whether the end of the file has been seen. Nothing but an empty line comes then.
  bool atEnd() const { return std::feof(file_.get()) != 0; }

  // Returns the next line without its line end. A line ends at 999 characters and at a zero byte. After a longer line,
  // after an error and at the end of the file the line is empty. Valid until the next call. Only while isOpen().
  const char* nextLine();

 private:
  // A line and its terminator.
  static constexpr std::size_t LineSize = 1000;

  OwnedFile file_;
  std::array<char, LineSize> line_{};
  bool failed_ = false;
};

}  // namespace flowscope
