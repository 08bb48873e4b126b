// The command "from".
#pragma once

#include "terminal/result_code.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

// "from": attaches the monitor to each port that pattern matches, and each time sends the messages of the file called
// name through it (see PlaybackLine); without a pattern it attaches to what lies below the current directory, and sends
// them once. What the monitor sends passes every port that it is attached to. A line is read 1023 characters at a time,
// and each piece of a longer one counts as a line. What came of single messages is not looked at.
//
// Answers the result of the last match: ResultOk; ResultConnectError when it could not be attached, or the result of
// attachBelowCurrent, and nothing is sent then; ResultOpenFileError when the file could not be opened, or not be read
// to its end. ResultBadArgument without a name, ResultSilent when nothing matched. Throws std::out_of_range like
// resolvePath, and nothing has changed then. Runs on the thread that executes commands; blocks until the service has
// taken what the file holds, or is known to have gone.
ResultCode fromCommand(TrafficShell& shell, const char* name, const char* pattern);

}  // namespace flowscope
