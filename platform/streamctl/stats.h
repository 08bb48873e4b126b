// streamctl stats.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Shows what the service has counted on standard output.
Outcome run(const StatsCommand& command, const ServicePlace& place);

}  // namespace streamctl
