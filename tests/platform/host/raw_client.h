// A client that says what a test wants, right or wrong.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>
#include <zmq.hpp>

#include "platform/wire/messages.h"

namespace host {

// One DEALER socket.
class RawClient {
 public:
  RawClient(zmq::context_t& context, const std::string& address) : socket_(context, zmq::socket_type::dealer) {
    socket_.set(zmq::sockopt::linger, 0);
    socket_.set(zmq::sockopt::rcvtimeo, PatienceMilliseconds);
    socket_.set(zmq::sockopt::sndtimeo, PatienceMilliseconds);
    socket_.connect(address);
  }

  // The parts of one message.
  bool send(std::span<const std::vector<std::uint8_t>> parts) {
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const int flags = i + 1 < parts.size() ? ZMQ_SNDMORE : 0;
      if (zmq_send(socket_.handle(), parts[i].data(), parts[i].size(), flags) < 0) return false;
    }
    return true;
  }
  bool send(const std::vector<std::uint8_t>& bytes) { return send(std::span(&bytes, 1)); }
  bool send(std::uint32_t tag, const wire::Body& body) { return send(wire::encode(tag, body)); }

  // The next message; nothing when none comes for ten seconds.
  std::optional<std::vector<std::uint8_t>> receive() {
    zmq::message_t message;
    if (!socket_.recv(message)) return std::nullopt;
    const auto* bytes = message.data<const std::uint8_t>();
    return std::vector<std::uint8_t>(bytes, bytes + message.size());
  }

  // The session that the service gives; 0 when it gives none. What it says before is skipped.
  std::uint64_t hello() {
    send(1, wire::Hello{"raw", 1});
    while (const auto bytes = receive()) {
      const auto envelope = wire::decode(*bytes);
      if (!envelope) return 0;
      if (const auto* welcome = std::get_if<wire::Welcome>(&envelope->body)) return welcome->session;
    }
    return 0;
  }

 private:
  static constexpr int PatienceMilliseconds = 10'000;

  zmq::socket_t socket_;
};

}  // namespace host
