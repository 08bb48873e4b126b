#include "platform/host/router_socket.h"

#include "platform/wire/messages.h"

namespace host {
namespace {

// More messages than all windows of a client let be on their way: the smallest entry has nine bytes, so the event
// window holds fewer of them. What a peer does not take beyond it, it has not asked for.
constexpr int HighWaterMark = 32'768;

// What is larger is none of our messages; ZeroMQ then closes the connection that it came on.
constexpr auto MaxMessage = static_cast<std::int64_t>(wire::MaxMessageBytes + 4096);

}  // namespace

RouterSocket::RouterSocket(zmq::context_t& context) : socket_(context, zmq::socket_type::router) {
  socket_.set(zmq::sockopt::router_mandatory, true);
  socket_.set(zmq::sockopt::sndhwm, HighWaterMark);
  socket_.set(zmq::sockopt::maxmsgsize, MaxMessage);
  socket_.set(zmq::sockopt::linger, 0);
}

std::optional<std::string> RouterSocket::bind(const std::string& endpoint) {
  try {
    socket_.bind(endpoint);
  } catch (const zmq::error_t& error) {
    return error.what();
  }
  return std::nullopt;
}

std::optional<RouterSocket::Incoming> RouterSocket::receive() {
  while (socket_.recv(peer_, zmq::recv_flags::dontwait)) {
    int parts = 1;
    for (bool more = peer_.more(); more; more = message_.more()) {
      // The parts of a message arrive together.
      (void)socket_.recv(message_);
      ++parts;
    }
    if (parts != 2) continue;
    return Incoming{peer_.to_string_view(), {message_.data<const std::uint8_t>(), message_.size()}};
  }
  return std::nullopt;
}

bool RouterSocket::send(std::string_view peer, std::span<const std::uint8_t> message) {
  // Not zmq::socket_t::send: a peer that has gone is no exception here.
  if (zmq_send(socket_.handle(), peer.data(), peer.size(), ZMQ_SNDMORE | ZMQ_DONTWAIT) < 0) return false;
  return zmq_send(socket_.handle(), message.data(), message.size(), ZMQ_DONTWAIT) >= 0;
}

}  // namespace host
