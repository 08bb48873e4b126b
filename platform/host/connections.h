// A host's connections to its clients.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/host/peer_identity.h"

namespace host {

// Names one connection. No number is used twice while the process runs.
enum class ConnectionId : std::uint64_t { None = 0 };

// What a dispatcher needs of the connections. For the host's thread.
class Connections {
 public:
  virtual ~Connections() = default;

  // Sends a message, without blocking; copies it. Does nothing if the connection has closed.
  virtual void send(ConnectionId to, std::span<const std::uint8_t> message) = 0;

  // When its turn comes, after what others have sent, and little waits to be written to the connection, it continues
  // (see Dispatcher::continued). Nothing else that arrives by it is handled before. Call this only while a message of
  // this connection is handled, or while it continues.
  virtual void continueLater(ConnectionId connection) = 0;

  // Closes a connection once everything that has arrived by it has been handled. Does nothing if it has closed.
  virtual void endAfterReading(ConnectionId connection) = 0;

  // Who is at the other end. Of a connection that has closed, nothing is known.
  virtual PeerIdentity identity(ConnectionId connection) const = 0;

  // Closes a connection at once. Does nothing if it has closed. Must not be called while a message is handled.
  virtual void disconnect(ConnectionId connection) = 0;

  // The connection that holds the most memory of this user, who is 0 where users are unknown. First frees what the
  // user's connections keep without need; nullopt while that is enough, or there is nothing to gain. Must not be called
  // while a message is handled.
  virtual std::optional<ConnectionId> heaviestOf(std::uint32_t user) = 0;
};

}  // namespace host
