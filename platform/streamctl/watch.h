// streamctl watch.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Prints a line for each message that passes the ports, until SIGINT or SIGTERM comes or nobody reads standard output;
// these are no failures. When the service goes, waits until it is back. Sets EVTSRV_ENDPOINT for the library.
Outcome run(const WatchCommand& command, const ServicePlace& place);

}  // namespace streamctl
