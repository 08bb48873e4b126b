// Attaches the monitor port: the commands "cat" and "end" and their parts. All functions run on the thread that
// executes commands, and block until the service answers (two seconds at most each time).
#pragma once

#include <cstddef>
#include <string_view>

#include "evtsrv.h"
#include "terminal/result_code.h"
#include "topology/option_bits.h"
#include "topology/path.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

// The size of the events that the monitor requests, in bytes.
inline constexpr std::size_t MonitorEventBytes = 1004;

// The option of "cat" that asks for the labelled form.
inline constexpr Options LabelledOption = OptionL;

// Returns the current directory, or the port that contains it: its path cut to four components.
PathComponents currentPlace(TrafficShell& shell);

// Attaches the monitor to the port that path names; for a null path, to the port that contains the current directory
// (see currentPlace). target is the name to connect to. holder gives the maximum size of events. Returns
// EvtRes_DoNothing if the place does not exist or has fewer than four components; EvtRes_Success if the monitor is
// attached now or was before; otherwise the result of the connect, with nothing changed.
EvtSrv::EventResult attachPort(TrafficShell& shell, const char* path, const char* target, EvtSrv::MemoryHolder& holder);

// Attaches the monitor to the ports below the current directory: at a side to all ports of all its groups, in a group
// to the ports of that group, at a port to that port. Returns ResultOk, also if something is attached already (then it
// adds nothing), if there are no ports, and whatever the result of the single ports is; ResultConnectError if the
// current directory is a port that cannot be attached; ResultBadArgument outside of streams and in a group without a
// name; ResultSilent without a patcher. Throws std::out_of_range in a group that the device does not list.
ResultCode attachBelowCurrent(TrafficShell& shell);

// Attaches the monitor for a command: to the port that path names; for a null path, to the ports below the current
// directory (see attachBelowCurrent). Returns ResultConnectError if path is no port that can be attached.
ResultCode attachMonitor(TrafficShell& shell, const char* path);

// Ends all attachments.
void detachAll(TrafficShell& shell);

// Ends the attachment to one port, named as for attachPort. Returns EvtRes_DoNothing if the place does not exist, is no
// port or is not attached. Otherwise returns the result of the disconnect, and removes the port from the list whatever
// that is.
EvtSrv::EventResult detachPort(TrafficShell& shell, const char* path);

// "cat": shows the traffic of the ports that pattern matches; if pattern is null, of the ports below the current
// directory. Sets the text form (LabelledOption in options) and sets the traffic mode to the screen alone; a traffic
// file stays open. Returns the result of the last match, ResultConnectError if it could not be attached; ResultSilent
// if nothing matched; without a pattern, the result of attachBelowCurrent. Throws std::out_of_range like resolvePath,
// and then nothing changes; without a pattern like attachBelowCurrent, and then form and mode have changed.
ResultCode catCommand(TrafficShell& shell, Options options, const char* pattern);

// "end": ends all attachments, closes the traffic file if one is open, and switches the printing of traffic off.
// Returns ResultOk.
ResultCode endCommand(TrafficShell& shell);

}  // namespace flowscope
