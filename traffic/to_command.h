// The command "to".
#pragma once

#include "terminal/result_code.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

// "to": attaches the monitor to the ports that pattern matches, or, when it is null, to what lies below the current
// directory, and from then on writes what it prints to the file called name, too, until "end" or "cat". The file is
// emptied; with several matches once for each, and a file that was open before is abandoned (see TrafficFile).
//
// Answers the result of the last match: ResultOk; ResultConnectError when it could not be attached, or the result of
// attachBelowCurrent, and the file is left alone then; ResultOpenFileError when the file could not be opened, and the
// monitor stays attached. When that is for want of descriptors (see openFile), one line on standard error says so, and
// nothing is written to a file any more. ResultBadArgument without a name, ResultSilent when nothing matched. Throws
// std::out_of_range like resolvePath, and nothing has changed then. Runs on the thread that executes commands; blocks
// for the service and the disk, and at a named pipe until somebody reads it.
ResultCode toCommand(TrafficShell& shell, const char* name, const char* pattern);

}  // namespace flowscope
