// Whether a topology may be believed.
#pragma once

#include <optional>
#include <string>

#include "platform/wire/messages.h"

namespace wire {

// A service may be of another make, or lie. Returns a line that says why a decoded topology is refused, because it
// breaks what every service promises: within the bounds of device/size_limits.h, no handle twice, and all names clean
// (see device/names.h). nullopt if it keeps that. The line is printable; it quotes no name.
std::optional<std::string> whyRefused(const Topology& topology);

}  // namespace wire
