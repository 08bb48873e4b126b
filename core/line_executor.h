// Runs lines and scripts.
#pragma once

#include <string>
#include <string_view>

#include "terminal/result_code.h"

namespace flowscope {

class StatBase;

// The maximum nesting depth of scripts.
inline constexpr int MaximumScriptDepth = 100;

// Runs a whole line: the commands between its ";", in order. Stops at the first command that fails or quits and returns
// its code; ResultOk if all ran, ResultSilent for a line without commands. quoted: the line comes from a script (see
// stripScriptQuote).
ResultCode runLine(StatBase& shell, std::string_view text, bool quoted);

// Runs the commands between the ";" of text in order, up to the first whose code is neither ResultOk nor ResultSilent,
// and returns that code; ResultOk if all ran.
ResultCode runCommands(StatBase& shell, std::string_view text);

// Reads a file and runs its lines, up to the first whose code is not ResultOk: an empty line ends a script. Reads at
// most 999 characters of a line; a longer line is the last. Returns the last line's code, ResultOpenFileError if the
// file cannot be read (see ScriptFile) or scripts are nested too deep.
ResultCode runScript(StatBase& shell, const std::string& fileName);

}  // namespace flowscope
