// Who is at the other end of a local socket.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host {

// As the system says it, not the peer.
struct PeerIdentity {
  std::optional<std::uint32_t> user;  // nullopt: unknown (see usersAreKnown)
  std::uint32_t process = 0;          // 0: unknown
  std::string program;                // any bytes, at most device::MaxNameBytes; cut to 15 by the system
};

// Whoever connected this socket. A process that has changed its program since is called after the new one.
PeerIdentity identityOf(int socket);

// Its process number alone, which costs less; 0: unknown.
std::uint32_t processOf(int socket);

// False in a user namespace, where the system calls foreign users by one number: users cannot be told apart.
bool usersAreKnown();

}  // namespace host
