// The other ends of a host's socket.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace host {

class Peers {
 public:
  virtual ~Peers() = default;

  // Hands over a message for a peer and does not wait; both are copied. peer: its routing id, any bytes. False when
  // the peer has gone, or takes nothing more: then it has lost the message, and must be given up.
  virtual bool send(std::string_view peer, std::span<const std::uint8_t> message) = 0;

  // The connection by which the message came that was received last; nothing for a peer in this process. A number is
  // used again after its connection has closed.
  virtual std::optional<int> connection() const = 0;
};

}  // namespace host
