// The command "cd".
#pragma once

#include "terminal/result_code.h"
#include "topology/topology_shell.h"

namespace flowscope {

// Changes the current directory to path, which may be relative to it; a null path means the root. Returns ResultOk (the
// pager then starts a new page), or ResultSilent if path does not exist; then nothing changes. Throws std::out_of_range
// like resolvePath; then nothing changes either.
ResultCode changeDirectory(TopologyShell& shell, const char* path);

}  // namespace flowscope
