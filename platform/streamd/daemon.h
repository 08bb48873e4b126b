// The service as a program of its own.
#pragma once

#include "platform/streamd/options.h"

namespace streamd {

// Serves until SIGINT, SIGTERM or SIGHUP, whose handlers it sets, and logs to standard error. Answers the status to end
// with. Throws what derives from std::exception when the system gives too little.
int serve(const Options& options);

}  // namespace streamd
