// What is wrong with a device file.
#pragma once

#include <string>
#include <string_view>

namespace service {

// One line of printable text, and the number of the line in the file that it is about, from 1 on.
struct DeviceFileProblem {
  unsigned line = 0;
  std::string cause;
};

// text with "?" for every byte that is not printable ASCII, cut to a length that fits a line: what stands in a file
// must not reach a terminal as it is.
std::string printable(std::string_view text);

}  // namespace service
