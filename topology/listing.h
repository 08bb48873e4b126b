// The command "ls".
#pragma once

#include "terminal/result_code.h"
#include "topology/topology_shell.h"

namespace flowscope {

// Option bits of "ls".
inline constexpr unsigned TreeListing = 0x1;
inline constexpr unsigned PagedListing = 0x2;

// Lists the children of the current directory (a null path) or of each node that path matches as a pattern, with their
// current connections. Returns ResultOk, also if the user stopped the output of a match; ResultSilent if nothing
// matches, or if the user stopped a listing of the current directory. Throws std::out_of_range like resolvePath and
// refreshTopology.
ResultCode listCommand(TopologyShell& shell, unsigned options, const char* path);

// Lists one node: an absolute path, or the current directory for null. firstOutput: nothing was printed before. Returns
// ResultSilent if the path is not in the tree or the user stopped the output, otherwise ResultOk.
ResultCode listPath(TopologyShell& shell, unsigned options, const char* path, bool firstOutput);

}  // namespace flowscope
