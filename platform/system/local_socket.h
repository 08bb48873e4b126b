// Sockets in the file system.
#pragma once

#include <chrono>
#include <string>
#include <utility>

#include "platform/system/unique_descriptor.h"

namespace sys {

// The default socket of the service, for itself and its clients: streamd/socket in the folder that XDG_RUNTIME_DIR
// names, or in /run without it.
std::string wellKnownSocket();

// Returns 0 if a program listens at the local socket with this path, else the errno of a connection attempt. Does not
// block. A program that is too busy to accept counts as listening.
int whyNobodyListens(const std::string& path);

// Connects to the local socket with this path. While more clients connect than the listener has room for, blocks until
// its turn, but not longer than patience, which is above 0. The socket does not block. Empty with errno on failure;
// EAGAIN: patience is over.
UniqueDescriptor connectLocalSocket(const std::string& path, std::chrono::milliseconds patience);

// The two ends of a connection within this process; they do not block. Throws std::system_error if the system gives
// none.
std::pair<UniqueDescriptor, UniqueDescriptor> localSocketPair();

}  // namespace sys
