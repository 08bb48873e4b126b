// The words of streamd's command line.
#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace streamd {

struct Options {
  std::vector<std::string> endpoints;  // at least one
  std::vector<std::string> drivers;    // names of the catalogue; at least one, unless there is a device file
  std::string device;                  // a device file, or empty
  std::size_t queueBytes = 0;
};

// The program is to end with this status; what there is to say has been said.
struct EndWith {
  int status = 0;
};

// Prints help and the version on standard output, and what is wrong on standard error.
std::variant<Options, EndWith> parseOptions(int count, const char* const* words);

}  // namespace streamd
