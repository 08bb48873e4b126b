// The command line of streamd.
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
  std::size_t memory = 0;  // bytes
};

// The program must end with this status; its messages are already printed.
struct EndWith {
  int status = 0;
};

// Prints help and the version to standard output, and errors to standard error.
std::variant<Options, EndWith> parseOptions(int count, const char* const* words);

}  // namespace streamd
