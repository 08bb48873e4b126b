// The command "cd".
#pragma once

#include "terminal/result_code.h"
#include "topology/topology_shell.h"

namespace flowscope {

// Makes path, seen from the current directory, the current directory; a null path means the root. Answers ResultOk
// (the pager then starts a fresh page), or ResultSilent for a place that does not exist: nothing has changed then.
// Throws std::out_of_range like resolvePath, and nothing has changed either.
ResultCode changeDirectory(TopologyShell& shell, const char* path);

}  // namespace flowscope
