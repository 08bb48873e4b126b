// What a service has counted, for people and for programs.
#pragma once

#include <string>

#include "platform/wire/messages.h"

namespace streamctl {

// The totals, then a line for each client under a line of headings. QUEUE is in bytes, FILL its part of the bound.
std::string statsText(const wire::Stats& stats);

// A JSON document of the same numbers: "in", "out", "lost", "uncounted_losses", "queue_limit" and "clients", each with
// "program", "process", "taps", "in", "out", "lost" and "queue_bytes".
std::string statsJson(const wire::Stats& stats);

}  // namespace streamctl
