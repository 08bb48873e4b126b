// Runs single commands.
#pragma once

#include <string_view>

#include "terminal/result_code.h"

namespace flowscope {

class StatBase;

// Runs one command, which is a command word and its argument words, and reports its result on the shell's output.
// Blocks as long as the command does. Answers the command's code; ResultSilent for an empty command and for errors
// of use that are reported at once, ResultQuit when the command ended the shell. An exception of the command is
// reported and answered as a code: the command had no effect, the shell lives on.
ResultCode dispatch(StatBase& shell, std::string_view command);

}  // namespace flowscope
