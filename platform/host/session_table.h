// The clients of a host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/host/session.h"

namespace host {

// Sessions by number and by the peers of their sockets. A reference to a session stays valid until that session is
// removed.
class SessionTable {
 public:
  using Sessions = std::unordered_map<std::uint64_t, Session>;

  // Adds a session with a random number. Returns null if the peer already is a socket of a session.
  Session* add(std::string_view controlPeer, service::ClientId client);

  // Return null if there is no such session.
  Session* find(std::uint64_t number);
  Session* findByPeer(std::string_view peer);

  // Sets the session's event or graph socket to the peer. Returns false, without a change, if that socket is already
  // set, or if the peer is a socket of another session.
  bool openEvents(Session& session, std::string_view peer) { return open(session, session.eventPeer, peer); }
  bool openGraph(Session& session, std::string_view peer) { return open(session, session.graphPeer, peer); }

  void remove(std::uint64_t number);

  Sessions& all() { return sessions_; }
  const Sessions& all() const { return sessions_; }

 private:
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>{}(text); }
  };

  bool open(Session& session, std::string& slot, std::string_view peer);

  Sessions sessions_;
  std::unordered_map<std::string, std::uint64_t, TextHash, std::equal_to<>> byPeer_;
};

}  // namespace host
