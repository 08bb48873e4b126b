// Sockets in the file system.
#pragma once

#include <string>

namespace sys {

// Where a service listens, and a client looks for one, when nobody says otherwise: streamd/socket in the folder that
// XDG_RUNTIME_DIR names, or in /run without it.
std::string wellKnownSocket();

// Whether somebody listens at the local socket with this path: 0, or else the errno that a connection meets. Never
// waits: who listens but is too busy to accept counts as listening.
int whyNobodyListens(const std::string& path);

}  // namespace sys
