// streamctl inject.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Passes a message through a port, as often and as fast as requested. SIGINT and SIGTERM end the process once the
// service has taken what was sent.
Outcome run(const InjectCommand& command, const ServicePlace& place);

}  // namespace streamctl
