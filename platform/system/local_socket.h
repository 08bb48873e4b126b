// Sockets in the file system.
#pragma once

#include <string>

namespace sys {

// The default socket of the service, for itself and its clients: streamd/socket in the folder that XDG_RUNTIME_DIR
// names, or in /run without it.
std::string wellKnownSocket();

// Returns 0 if a program listens at the local socket with this path, else the errno of a connection attempt. Does not
// block. A program that is too busy to accept counts as listening.
int whyNobodyListens(const std::string& path);

}  // namespace sys
