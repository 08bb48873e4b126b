// streamctl list.
#pragma once

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/service_place.h"

namespace streamctl {

// Prints a device's groups, ports and connections to standard output.
Outcome run(const ListCommand& command, const ServicePlace& place);

}  // namespace streamctl
