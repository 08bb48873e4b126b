// streamctl list.
#pragma once

#include <string>

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"

namespace streamctl {

// Shows a device's groups, ports and connections on standard output.
Outcome run(const ListCommand& command, const std::string& endpoint);

}  // namespace streamctl
