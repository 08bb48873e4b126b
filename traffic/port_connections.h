// The connections between ports: the commands "con" and "dis". Both run on the thread that executes commands, and
// block as long as the service takes to answer (two seconds at most for each connection).
#pragma once

#include "terminal/result_code.h"
#include "topology/topology_shell.h"

namespace flowscope {

// "con": connects each place that source matches to each place that destination matches, in order, or to the current
// directory when destination is null or matches nothing. Of two places, the first port is connected to the first, the
// second to the second, as far as the shorter list reaches. Before each pair of places a line tells it, paged; the
// user who has had enough of the lines ends the command before that pair.
//
// Answers the result of the last pair: ResultOk; ResultSilent when a place names no ports; ResultBadArgument when the
// source lies on the sink side or the destination on the source side, and nothing is connected then. ResultConnectError
// for a connection that was refused: it ends the command, and what was connected before stays. ResultSilent also
// without a patcher, without a source, and when source matches nothing. Throws std::out_of_range like resolvePath, and
// for places in groups that the device does not list.
ResultCode conCommand(TopologyShell& shell, const char* source, const char* destination);

// "dis": ends all connections of the ports of each place that source matches, on either side. A place below a port, a
// group or a port connected to it, means only the connections to that. The destination narrows nothing: it says how
// often each source is gone through, once for each of its matches, or once when there is none.
//
// Answers the result of the last place: ResultOk, whatever came of the single connections, or ResultSilent when it
// names no ports. ResultSilent and exceptions otherwise as for conCommand.
ResultCode disCommand(TopologyShell& shell, const char* source, const char* destination);

}  // namespace flowscope
