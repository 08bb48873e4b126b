// The socket at which all clients arrive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <zmq.hpp>

#include "platform/host/peers.h"
#include "platform/host/socket_monitor.h"

namespace host {

// A ROUTER socket. One thread at a time; signals on it are not noticed.
class RouterSocket : public Peers {
 public:
  // A message and who sent it. Views of the socket's, valid until the next receive.
  struct Incoming {
    std::string_view peer;
    std::span<const std::uint8_t> message;
  };

  // Throws zmq::error_t when the context gives no socket.
  explicit RouterSocket(zmq::context_t& context);

  // Nothing on success, else the cause in words.
  std::optional<std::string> bind(const std::string& endpoint);

  // The next message, nothing when none stands ready. Messages of several parts are none of ours, and skipped.
  std::optional<Incoming> receive();

  bool send(std::string_view peer, std::span<const std::uint8_t> message) override;

  std::optional<int> connection() const override;

  // A connection that has closed since the last time; nothing when there is none. Peers that came by it are forgotten
  // some moments later.
  std::optional<int> closedConnection();

  // For polling: either readable when there is something to do.
  void* handle() { return socket_.handle(); }
  void* monitorHandle() { return monitor_.handle(); }

 private:
  bool receiveFrame(zmq::message_t& frame, int flags);
  bool sendFrame(const void* bytes, std::size_t size, int flags);

  zmq::socket_t socket_;
  SocketMonitor monitor_;
  zmq::message_t peer_;
  zmq::message_t message_;
};

}  // namespace host
