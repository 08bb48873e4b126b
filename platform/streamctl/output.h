// Unbuffered standard output.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace streamctl {

// Writes the whole text; blocks while the reader is slow. Returns 0, or the errno of the failure. Calls goOn whenever a
// signal may have arrived; returns EINTR if goOn returns false.
int writeOutput(std::string_view text, const std::function<bool()>& goOn = {});

// Returns false if standard output is known to have no reader any more.
bool outputHasReader();

// The error as one line of text.
std::string outputProblem(int error);

}  // namespace streamctl
