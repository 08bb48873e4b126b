// The program as a whole: options, shells and the event loop.
#pragma once

#include <span>

#include "core/shell_io.h"

namespace flowscope {

// Runs the program with the words of its command line, without the program's own name. Runs the options "-c" LINE and
// "-f" FILE, any number in any order, from left to right, each in its own quiet shell; skips other words. Without such
// options, runs an interactive shell on the calling thread until it ends. Returns the exit status, which is always 0.
int runProgram(std::span<const char* const> words, ShellIo& io);

}  // namespace flowscope
