// The program as a whole.
#pragma once

#include <string>
#include <vector>

namespace streamctl {

// Runs a command line without the program's own name. Returns the exit status: 0 on success; 1 on failure, with a line
// on standard error that says why; 2 if the command line is wrong.
int runProgram(const std::vector<std::string>& words);

}  // namespace streamctl
