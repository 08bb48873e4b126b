// What is wrong with a device file.
#pragma once

#include <string>
#include <string_view>

namespace drivers {

// One line of printable text, and the number of the line in the file that it is about, from 1 on.
struct DeviceFileProblem {
  unsigned line = 0;
  std::string cause;
};

// What stands in a file, as a cause may quote it: printable (see sys::printable), and cut to a length that fits a
// line.
std::string printable(std::string_view text);

}  // namespace drivers
