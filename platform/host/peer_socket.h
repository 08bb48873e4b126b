// A host's socket to its peers.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace host {

class PeerSocket {
 public:
  virtual ~PeerSocket() = default;

  // Sends a message to a peer without blocking; copies both. peer: its routing id, any bytes. Returns false if the peer
  // disconnected or takes no more: the message is then lost, and the peer must be given up.
  virtual bool send(std::string_view peer, std::span<const std::uint8_t> message) = 0;

  // Returns the connection by which the last received message came; nullopt for a peer in this process. A number may be
  // reused after its connection has closed.
  virtual std::optional<int> connection() const = 0;
};

}  // namespace host
