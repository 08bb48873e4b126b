// streamctl stats.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Prints the service's counters to standard output.
Outcome run(const StatsCommand& command, const ServicePlace& place);

}  // namespace streamctl
