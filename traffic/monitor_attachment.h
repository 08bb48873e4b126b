// What the monitor port is attached to: the commands "cat" and "end" and what they are made of. All of it runs on the
// thread that executes commands, and blocks as long as the service takes to answer (two seconds at most each time).
#pragma once

#include <cstddef>
#include <string_view>

#include "evtsrv.h"
#include "terminal/result_code.h"
#include "topology/option_bits.h"
#include "topology/path.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

// The size of the events that the monitor asks for, in bytes.
inline constexpr std::size_t MonitorEventBytes = 1004;

// The option of "cat" that asks for the labelled form.
inline constexpr Options LabelledOption = OptionL;

// The current directory, or the port that it lies in: its path cut to four components.
PathComponents currentPlace(TrafficShell& shell);

// Attaches the monitor to the port that path names, or, for a null path, to the one that the current directory lies
// in (see currentPlace). target is the name to connect to. holder says how large events may become.
// EvtRes_DoNothing for a place that does not exist or has fewer than four components; EvtRes_Success when the monitor
// is attached now or was before; otherwise what the connect answered, with nothing changed.
EvtSrv::EventResult attachPort(TrafficShell& shell, const char* path, const char* target, EvtSrv::MemoryHolder& holder);

// Attaches the monitor to what lies below the current directory: at a side to all ports of all its groups, in a group
// to the ports of that group, at a port to that port. Answers ResultOk, also when something is attached already (then
// nothing is added), when there are no ports, and whatever came of the single ports; ResultConnectError when the
// current directory is a port that cannot be attached; ResultBadArgument outside of streams and in a group without a
// name; ResultSilent without a patcher. Throws std::out_of_range in a group that the device does not list.
ResultCode attachBelowCurrent(TrafficShell& shell);

// What commands attach the monitor with: the port that path names, or, for a null path, what lies below the current
// directory (see attachBelowCurrent). ResultConnectError when path is no port that can be attached.
ResultCode attachMonitor(TrafficShell& shell, const char* path);

// Ends all attachments.
void detachAll(TrafficShell& shell);

// Ends the attachment to one port, named as for attachPort. EvtRes_DoNothing for a place that does not exist, is no
// port or is not attached; otherwise what the disconnect answered, and the port is off the list whatever that was.
EvtSrv::EventResult detachPort(TrafficShell& shell, const char* path);

// "cat": shows the traffic of the ports that pattern matches, or, when it is null, of what lies below the current
// directory. Sets the text form (LabelledOption in options) and the traffic mode to the screen alone; a traffic file
// stays open. Answers the result of the last match, ResultConnectError when it could not be attached; ResultSilent
// when nothing matched. Throws std::out_of_range like resolvePath, and nothing has changed then.
ResultCode catCommand(TrafficShell& shell, Options options, const char* pattern);

// "end": ends all attachments, closes the traffic file if one is open, and switches the printing of traffic off.
// Answers ResultOk.
ResultCode endCommand(TrafficShell& shell);

}  // namespace flowscope
