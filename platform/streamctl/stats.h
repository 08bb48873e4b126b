// streamctl stats.
#pragma once

#include <string>

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"

namespace streamctl {

// Shows what the service has counted on standard output.
Outcome run(const StatsCommand& command, const std::string& endpoint);

}  // namespace streamctl
