// The command "from".
#pragma once

#include "terminal/result_code.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

// "from": plays the file called name (see PlaybackLine). Attaches each matching port in turn; after each, sends the
// file through all attached ports. Without a pattern, attaches like attachBelowCurrent and sends the file once. Reads a
// line 1023 characters at a time; each piece of a longer line counts as a line. Ignores the result of each send.
//
// Returns the result of the last match: ResultOk; ResultConnectError if the port could not be attached, and then
// nothing is sent; ResultOpenFileError if the file could not be opened, or not be read to its end. If too few
// descriptors are free (see openFile), one line on standard error says so. Without a pattern, returns the result of
// attachBelowCurrent if that is not ResultOk, and sends nothing. Returns ResultBadArgument without a name, ResultSilent
// if nothing matched. Throws std::out_of_range like resolvePath, without a pattern like attachBelowCurrent; then
// nothing has changed.
//
// Runs on the thread that executes commands. Blocks until the service has taken the file's messages or is known to be
// gone.
ResultCode fromCommand(TrafficShell& shell, const char* name, const char* pattern);

}  // namespace flowscope
