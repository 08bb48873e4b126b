// The clients of a host.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "platform/host/connections.h"
#include "platform/host/session.h"

namespace host {

// Sessions by number, by client and by their connections. A reference to a session stays valid until that session is
// removed.
class SessionTable {
 public:
  using Sessions = std::unordered_map<std::uint64_t, Session>;

  // Adds a session with a random number. Returns null if the connection already is one of a session.
  Session* add(ConnectionId control, service::ClientId client);

  // Return null if there is no such session.
  Session* find(std::uint64_t number);
  Session* findByConnection(ConnectionId connection);
  Session* findByClient(service::ClientId client);

  // Sets the session's event or graph channel to the connection. Returns false, without a change, if that channel is
  // already set, or if the connection is one of another session.
  bool openEvents(Session& session, ConnectionId connection) { return open(session, session.eventChannel, connection); }
  bool openGraph(Session& session, ConnectionId connection) { return open(session, session.graphChannel, connection); }

  // The session's event or graph channel is this connection no more.
  void close(Session& session, ConnectionId connection);

  void remove(std::uint64_t number);

  Sessions& all() { return sessions_; }
  const Sessions& all() const { return sessions_; }

 private:
  bool open(Session& session, ConnectionId& slot, ConnectionId connection);

  Sessions sessions_;
  std::unordered_map<ConnectionId, std::uint64_t> byConnection_;
  std::unordered_map<service::ClientId, std::uint64_t> byClient_;
};

}  // namespace host
