// The socket that all clients connect to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <zmq.hpp>

#include "platform/channel/socket_monitor.h"
#include "platform/host/peer_socket.h"

namespace host {

// A ROUTER socket. For one thread at a time. Signals do not interrupt its operations.
class RouterSocket : public PeerSocket {
 public:
  // A message and its sender. Views into the socket, valid until the next receive.
  struct Incoming {
    std::string_view peer;
    std::span<const std::uint8_t> message;
  };

  // Throws zmq::error_t if the context provides no socket.
  explicit RouterSocket(zmq::context_t& context);

  // Returns nullopt on success, else the reason in words.
  std::optional<std::string> bind(const std::string& endpoint);

  // Returns the next message; nullopt if none is ready. Skips messages of several parts, which are not ours.
  std::optional<Incoming> receive();

  bool send(std::string_view peer, std::span<const std::uint8_t> message) override;

  std::optional<int> connection() const override;

  // Returns a connection that closed since the last call; nullopt if there is none. Its peers are forgotten a moment
  // later.
  std::optional<int> closedConnection();

  // For polling: there is something to do when either is readable.
  void* handle() { return socket_.handle(); }
  void* monitorHandle() { return monitor_.handle(); }

 private:
  bool receiveFrame(zmq::message_t& frame, int flags);
  bool sendFrame(const void* bytes, std::size_t size, int flags);

  zmq::socket_t socket_;
  channel::SocketMonitor monitor_;
  zmq::message_t peer_;
  zmq::message_t message_;
};

}  // namespace host
