// The command "ls".
#pragma once

#include "terminal/result_code.h"
#include "topology/option_bits.h"
#include "topology/topology_shell.h"

namespace flowscope {

// What "ls" reads of its options.
inline constexpr Options TreeListing = OptionR;
inline constexpr Options PagedListing = OptionM;

// Lists the children of the current directory (a null path) or of each place that path matches as a pattern, with
// their connections as of now. Answers ResultOk, also when the user stopped the output of one of several places;
// ResultSilent when nothing matches, or when the user stopped a listing of the current directory. Throws
// std::out_of_range like resolvePath and refreshTopology.
ResultCode listCommand(TopologyShell& shell, Options options, const char* path);

// Lists one place: an absolute path, or the current directory for null. firstOutput: nothing was printed before.
// ResultSilent when the place is not in the tree or the user stopped the output, otherwise ResultOk.
ResultCode listPath(TopologyShell& shell, Options options, const char* path, bool firstOutput);

}  // namespace flowscope
