// A service's counters, as text and as JSON.
#pragma once

#include <string>

#include "platform/wire/messages.h"

namespace streamctl {

// The totals, then a heading and a line for each client. QUEUE is in bytes, FILL its share of the limit.
std::string statsText(const wire::Stats& stats);

// A JSON document of the same numbers: "in", "out", "lost", "uncounted_losses", "queue_limit" and "clients", each with
// "program", "process", "taps", "in", "out", "lost" and "queue_bytes".
std::string statsJson(const wire::Stats& stats);

}  // namespace streamctl
