// streamctl inject.
#pragma once

#include <string>

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"

namespace streamctl {

// Passes a message through a port, as often and as fast as is asked. Dies of SIGINT and SIGTERM, once the service has
// taken what was handed over.
Outcome run(const InjectCommand& command, const std::string& endpoint);

}  // namespace streamctl
