// The command "ls".
#pragma once

#include "terminal/result_code.h"
#include "topology/option_bits.h"
#include "topology/topology_shell.h"

namespace flowscope {

// What "ls" reads of its options.
inline constexpr Options TreeListing = OptionR;
inline constexpr Options PagedListing = OptionM;

// Lists the children of the current directory (a null path) or of each node that path matches as a pattern, with their
// current connections. Returns ResultOk, also if the user stopped the output of a match; ResultSilent if nothing
// matches, or if the user stopped a listing of the current directory. Throws std::out_of_range like resolvePath and
// refreshTopology.
ResultCode listCommand(TopologyShell& shell, Options options, const char* path);

// Lists one node: an absolute path, or the current directory for null. firstOutput: nothing was printed before. Returns
// ResultSilent if the path is not in the tree or the user stopped the output, otherwise ResultOk.
ResultCode listPath(TopologyShell& shell, Options options, const char* path, bool firstOutput);

}  // namespace flowscope
