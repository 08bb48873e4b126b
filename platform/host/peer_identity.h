// Who is at the other end of a local socket.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host {

// As the system says it, not the peer.
struct PeerIdentity {
  std::optional<std::uint32_t> user;  // nullopt: unknown (see sys::usersAreKnown)
  std::uint32_t process = 0;          // 0: unknown
  std::string program;                // any bytes, at most device::MaxNameBytes; cut to 15 by the system
};

// The user of identityOf, which costs much less than the rest.
std::optional<std::uint32_t> userOf(int socket);

// Whoever connected this socket. A process that has changed its program since is called after the new one.
PeerIdentity identityOf(int socket);

// Its process number alone, which costs less; 0: unknown.
std::uint32_t processOf(int socket);

}  // namespace host
