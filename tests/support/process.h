// Runs a program without a terminal.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tests/support/child.h"
#include "tests/support/deadline.h"

namespace testsupport {

// The result of a program. Without a status, the deadline passed first and the program was killed; the texts then hold
// what it had written so far.
struct ProcessResult {
  std::optional<ExitStatus> status;
  std::string standardOutput;
  std::string standardError;
};

// Runs the program until it ends, without a terminal, with input as its standard input (closed after the last byte) and
// both outputs captured. Blocks until the program has ended and its outputs are closed, or until the deadline. Throws
// std::system_error if it cannot be started.
ProcessResult runProcess(const Command& command, std::string_view input, const Deadline& deadline);

}  // namespace testsupport
