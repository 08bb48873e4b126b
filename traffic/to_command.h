// The command "to".
#pragma once

#include "terminal/result_code.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

// "to": attaches the monitor to each port that pattern matches, or without a pattern like attachBelowCurrent. From then
// on also writes what the monitor prints to the file called name, until "end" or "cat". Each match creates or empties
// the file again, and abandons the file that was open before (see TrafficFile).
//
// Returns the result of the last match: ResultOk; ResultConnectError if the port could not be attached, and then the
// file is not touched; ResultOpenFileError if the file could not be opened, and then the monitor stays attached and
// nothing is written to a file any more. If too few descriptors are free (see openFile), one line on standard error
// says so. Without a pattern, returns the result of attachBelowCurrent if that is not ResultOk, and does not touch the
// file. Returns ResultBadArgument without a name, ResultSilent if nothing matched. Throws std::out_of_range like
// resolvePath, without a pattern like attachBelowCurrent; then nothing has changed.
//
// Runs on the thread that executes commands. Blocks for the service and the disk, and at a named pipe until somebody
// reads it.
ResultCode toCommand(TrafficShell& shell, const char* name, const char* pattern);

}  // namespace flowscope
