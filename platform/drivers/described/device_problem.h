// Errors in a device file.
#pragma once

#include <string>
#include <string_view>

namespace drivers {

// cause: one line of printable text. line: the line of the file that it is about, from 1 on.
struct DeviceFileProblem {
  unsigned line = 0;
  std::string cause;
};

// Returns text of a file in a form that a cause may quote: printable (see sys::printable), and cut to a length that
// fits a line.
std::string printable(std::string_view text);

}  // namespace drivers
