// Runs lines and scripts.
#pragma once

#include <string>
#include <string_view>

#include "terminal/result_code.h"

namespace flowscope {

class StatBase;

// Scripts that may be read one inside the other.
inline constexpr int MaximumScriptDepth = 100;

// Runs a whole line: the commands between its ";" in order, up to the first whose code is not ResultOk. quoted: the
// line is one of a script (see stripScriptQuote). Answers the last command's code, ResultSilent for a line without
// commands.
ResultCode runLine(StatBase& shell, std::string_view text, bool quoted);

// Runs the commands between the ";" of text in order, up to the first whose code is neither ResultOk nor
// ResultSilent, and answers that code; ResultOk when all ran.
ResultCode runCommands(StatBase& shell, std::string_view text);

// Reads a file and runs its lines, up to the first whose code is not ResultOk: an empty line ends a script. Of a
// line, 999 characters are read; a longer one is the last. Answers the last line's code, ResultOpenFileError when
// the file cannot be read (see ScriptFile) or scripts are nested too deep.
ResultCode runScript(StatBase& shell, const std::string& fileName);

}  // namespace flowscope
