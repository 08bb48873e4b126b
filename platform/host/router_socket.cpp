#include "platform/host/router_socket.h"

#include <cerrno>

#include "platform/system/through_signals.h"
#include "platform/wire/messages.h"

namespace host {
namespace {

// More messages than all windows of a client allow in flight: the smallest entry has nine bytes, so fewer of them fill
// the event window. A peer has not asked for anything beyond it.
constexpr int HighWaterMark = 32'768;

// Messages that arrive faster than they are processed wait in the client, except for this many. So a client that
// ignores its windows fills no more memory than these.
constexpr int ReceiveHighWaterMark = 128;

// Connections that may wait to be accepted; the system's own limit is as high. Beyond it a client finds no service.
constexpr int WaitingConnections = 4096;

// Larger messages are not ours; ZeroMQ then closes the connection that they came by.
constexpr auto MaxMessage = static_cast<std::int64_t>(device::MaxMessageBytes + 4096);

}  // namespace

RouterSocket::RouterSocket(zmq::context_t& context)
    : socket_(context, zmq::socket_type::router), monitor_(context, socket_, ZMQ_EVENT_DISCONNECTED) {
  socket_.set(zmq::sockopt::router_mandatory, true);
  socket_.set(zmq::sockopt::sndhwm, HighWaterMark);
  socket_.set(zmq::sockopt::rcvhwm, ReceiveHighWaterMark);
  socket_.set(zmq::sockopt::maxmsgsize, MaxMessage);
  socket_.set(zmq::sockopt::backlog, WaitingConnections);
  socket_.set(zmq::sockopt::linger, 0);
}

std::optional<std::string> RouterSocket::bind(const std::string& endpoint) {
  const int bound = sys::throughSignals([&] { return zmq_bind(socket_.handle(), endpoint.c_str()); });
  return bound < 0 ? std::optional<std::string>(zmq_strerror(errno)) : std::nullopt;
}

std::optional<RouterSocket::Incoming> RouterSocket::receive() {
  while (receiveFrame(peer_, ZMQ_DONTWAIT)) {
    int parts = 1;
    for (bool more = peer_.more(); more; more = message_.more()) {
      // All parts of a message arrive together.
      if (!receiveFrame(message_, 0)) return std::nullopt;
      ++parts;
    }
    if (parts != 2) continue;
    return Incoming{peer_.to_string_view(), {message_.data<const std::uint8_t>(), message_.size()}};
  }
  return std::nullopt;
}

bool RouterSocket::send(std::string_view peer, std::span<const std::uint8_t> message) {
  return sendFrame(peer.data(), peer.size(), ZMQ_SNDMORE) && sendFrame(message.data(), message.size(), 0);
}

std::optional<int> RouterSocket::connection() const {
  const int descriptor = zmq_msg_get(message_.handle(), ZMQ_SRCFD);
  return descriptor < 0 ? std::nullopt : std::optional(descriptor);
}

std::optional<int> RouterSocket::closedConnection() {
  const auto event = monitor_.next();
  return event ? std::optional(event->value) : std::nullopt;
}

// Not zmq::socket_t::recv and send: here neither a signal nor a disconnected peer is an exception.
bool RouterSocket::receiveFrame(zmq::message_t& frame, int flags) {
  return sys::throughSignals([&] { return zmq_msg_recv(frame.handle(), socket_.handle(), flags); }) >= 0;
}

bool RouterSocket::sendFrame(const void* bytes, std::size_t size, int flags) {
  return sys::throughSignals([&] { return zmq_send(socket_.handle(), bytes, size, flags | ZMQ_DONTWAIT); }) >= 0;
}

}  // namespace host
