// The service as a program.
#pragma once

#include "platform/streamd/options.h"

namespace streamd {

// Serves until SIGINT, SIGTERM or SIGHUP, whose handlers it sets, and logs to standard error. Returns the exit status.
// Throws exceptions derived from std::exception if the system gives too few resources.
int serve(const Options& options);

}  // namespace streamd
