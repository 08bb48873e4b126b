// The connections between ports: the commands "con" and "dis". Both run on the thread that executes commands, and block
// until the service answers (two seconds at most for each request).
#pragma once

#include "terminal/result_code.h"
#include "topology/topology_shell.h"

namespace flowscope {

// "con": connects each place that source matches to each place that destination matches, in order; to the current
// directory if destination is null or matches nothing. For two places, it connects the first port to the first, the
// second to the second, up to the end of the shorter list. Before each pair of places it prints a line that names the
// pair, paged; if the user stops the output, the command ends before that pair.
//
// Returns the result of the last pair: ResultOk; ResultSilent if a place names no ports; ResultBadArgument if the
// source lies on the sink side or the destination on the source side, and then nothing is connected. ResultConnectError
// if a connection is refused: it ends the command, and earlier connections stay. ResultSilent also without a patcher,
// without a source, and if source matches nothing. Throws std::out_of_range like resolvePath, and for places in groups
// that the device does not list.
ResultCode conCommand(TopologyShell& shell, const char* source, const char* destination);

// "dis": ends all connections of the ports of each place that source matches, on either side. A place below a port (a
// group or a port connected to it) means only the connections to that. The destination is ignored, except that each
// source is processed once per match of it (once without a match).
//
// Returns the result of the last place: ResultOk, whatever the result of the single connections is; ResultSilent if it
// names no ports, or is a connected group without a name. Otherwise returns ResultSilent and throws like conCommand.
ResultCode disCommand(TopologyShell& shell, const char* source, const char* destination);

}  // namespace flowscope
