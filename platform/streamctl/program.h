// The program as a whole.
#pragma once

#include <string>
#include <vector>

namespace streamctl {

// Does what the words of the command line ask for, the program's own name not among them. Answers the exit status: 0;
// 1 when it could not be done, with a line on standard error that says why; 2 when the words are wrong.
int runProgram(const std::vector<std::string>& words);

}  // namespace streamctl
