// Runs single commands.
#pragma once

#include <string_view>

#include "terminal/result_code.h"

namespace flowscope {

class StatBase;

// Runs one command, which is a command word and its argument words, and reports its result on the shell's output.
// Blocks as long as the command does. Returns the command's code; ResultSilent for an empty command and for usage
// errors that are reported at once, ResultQuit if the command ended the shell. If the command throws, prints and
// returns a matching code; the shell continues, and what the command did before stays.
ResultCode dispatch(StatBase& shell, std::string_view command);

}  // namespace flowscope
