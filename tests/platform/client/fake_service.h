// A service that says what a test wants.
#pragma once

#include <optional>
#include <string>
#include <zmq.hpp>

#include "platform/host/router_socket.h"
#include "platform/wire/messages.h"

namespace client {

// The socket of a service; all is done on the test's thread.
class FakeService {
 public:
  FakeService() { problem_ = socket_.bind(address()); }

  zmq::context_t& context() { return context_; }
  static std::string address() { return "inproc://fake"; }
  bool stands() const { return !problem_; }

  // Takes in the next message of a client; nothing when none stands ready. send answers to who sent it.
  std::optional<wire::Envelope> receive() {
    const auto incoming = socket_.receive();
    if (!incoming) return std::nullopt;
    peer_ = incoming->peer;
    return wire::decode(incoming->message);
  }

  bool send(std::uint32_t tag, const wire::Body& body) { return socket_.send(peer_, wire::encode(tag, body)); }

 private:
  zmq::context_t context_{0};
  host::RouterSocket socket_{context_};
  std::optional<std::string> problem_;
  std::string peer_;
};

}  // namespace client
