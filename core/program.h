// The program as a whole: options, shells and the event loop.
#pragma once

#include <span>

#include "core/shell_io.h"

namespace flowscope {

// Runs the program with the words of its command line, the program's own name not among them. With "-c" LINE and
// "-f" FILE, any number and in any order, runs these from left to right, each in a quiet shell of its own; other
// words are skipped. Without such options runs an interactive shell on the calling thread until it ends. Answers
// the exit status, which is always 0.
int runProgram(std::span<const char* const> words, ShellIo& io);

}  // namespace flowscope
