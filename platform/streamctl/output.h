// Standard output, without a buffer of its own.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace streamctl {

// Writes the whole text; waits while the reader is slow. 0, or the errno of what went wrong; EINTR when goOn, asked
// whenever a signal may have come in between, answers false.
int writeOutput(std::string_view text, const std::function<bool()>& goOn = {});

// False when it is known that nobody will read any more.
bool outputHasReader();

// In words, one line.
std::string outputProblem(int error);

}  // namespace streamctl
