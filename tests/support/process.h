// Runs a program without a terminal.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tests/support/child.h"
#include "tests/support/deadline.h"

namespace testsupport {

// What a program left behind. Without a status the deadline came first and the program was killed; the texts then
// hold what it had written so far.
struct ProcessResult {
  std::optional<ExitStatus> status;
  std::string standardOutput;
  std::string standardError;
};

// Runs the program to its end, away from any terminal, with input as its standard input (closed behind the last byte)
// and with both outputs captured. Blocks until the program has ended and its outputs are closed, or until the deadline.
// Throws std::system_error when it cannot be started.
ProcessResult runProcess(const Command& command, std::string_view input, const Deadline& deadline);

}  // namespace testsupport
