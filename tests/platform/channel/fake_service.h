// A service that says what a test wants.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <zmq.hpp>

#include "platform/host/router_socket.h"
#include "platform/wire/messages.h"

namespace channel {

// The socket of a service. One thread at a time.
class FakeService {
 public:
  FakeService(zmq::context_t& context, const std::string& address) : socket_(context) {
    EXPECT_EQ(socket_.bind(address), std::nullopt);
  }

  // The next message of a client, a view that is valid until the next receive. Nothing when none comes in time.
  std::optional<wire::Envelope> receive(std::chrono::milliseconds patience = {}) {
    zmq_pollitem_t item{socket_.handle(), 0, ZMQ_POLLIN, 0};
    zmq_poll(&item, 1, static_cast<long>(patience.count()));
    const auto incoming = socket_.receive();
    if (!incoming) return std::nullopt;
    peer_ = incoming->peer;
    return wire::decode(incoming->message);
  }

  // Who sent the last message.
  const std::string& peer() const { return peer_; }

  // To who sent the last message, or to one who sent an earlier one.
  bool send(std::uint32_t tag, const wire::Body& body) { return send(peer_, tag, body); }
  bool send(const std::string& peer, std::uint32_t tag, const wire::Body& body) {
    return socket_.send(peer, wire::encode(tag, body));
  }

 private:
  host::RouterSocket socket_;
  std::string peer_;
};

}  // namespace channel
