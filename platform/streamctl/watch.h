// streamctl watch.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Prints a line for each message that passes the ports, until SIGINT or SIGTERM arrives or standard output has no
// reader; neither is a failure. If the service is gone, waits until it is back. Sets EVTSRV_ENDPOINT for the library.
Outcome run(const WatchCommand& command, const ServicePlace& place);

}  // namespace streamctl
