// streamctl inject.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Passes a message through a port, as often and as fast as is asked. Dies of SIGINT and SIGTERM, once the service has
// taken what was handed over.
Outcome run(const InjectCommand& command, const ServicePlace& place);

}  // namespace streamctl
