#include "platform/channel/connection.h"

#include <array>
#include <cerrno>

#include "platform/system/through_signals.h"

namespace channel {
namespace {

// Above the sum of all windows, on both sides of the socket.
constexpr int HighWaterMark = 32'768;

}  // namespace

Connection::Connection(zmq::context_t& context, const std::string& address)
    : socket_(context, zmq::socket_type::dealer) {
  if (!address.starts_with("inproc://")) {
    monitor_.emplace(context, socket_, ZMQ_EVENT_DISCONNECTED | ZMQ_EVENT_CLOSED);
  }
  socket_.set(zmq::sockopt::sndhwm, HighWaterMark);
  socket_.set(zmq::sockopt::rcvhwm, HighWaterMark);
  // A client with messages to deliver sends Goodbye and waits for the answer.
  socket_.set(zmq::sockopt::linger, 0);
  // A service that comes back does not know this client, so the caller connects anew with another socket.
  socket_.set(zmq::sockopt::reconnect_ivl, -1);
  // Not zmq::socket_t::connect, which throws when a signal interrupts it.
  if (sys::throughSignals([&] { return zmq_connect(socket_.handle(), address.c_str()); }) < 0) throw zmq::error_t();
}

bool Connection::send(std::span<const std::uint8_t> message) {
  return sys::throughSignals(
             [&] { return zmq_send(socket_.handle(), message.data(), message.size(), ZMQ_DONTWAIT); }) >= 0;
}

std::optional<std::span<const std::uint8_t>> Connection::receive() {
  const int size =
      sys::throughSignals([this] { return zmq_msg_recv(message_.handle(), socket_.handle(), ZMQ_DONTWAIT); });
  if (size < 0) return std::nullopt;
  return std::span(message_.data<const std::uint8_t>(), message_.size());
}

Connection::Wait Connection::wait(const Deadline& deadline) {
  std::array<zmq_pollitem_t, 2> items{{{socket_.handle(), 0, ZMQ_POLLIN, 0}, {nullptr, 0, ZMQ_POLLIN, 0}}};
  if (monitor_) items[1].socket = monitor_->handle();
  const auto time = closed_ ? 0 : static_cast<long>(deadline.left().count());
  const int ready = zmq_poll(items.data(), monitor_ ? 2 : 1, time);
  if (ready < 0 && errno == EINTR) return Wait::Interrupted;
  // Messages that arrived before the end come first.
  if (items[0].revents != 0) return Wait::Ready;
  if (!closed()) return Wait::Over;
  // A message may have arrived between the polls of the two sockets.
  return zmq_poll(items.data(), 1, 0) > 0 ? Wait::Ready : Wait::Closed;
}

bool Connection::waitThroughSignals(const Deadline& deadline) {
  for (;;) {
    const Wait result = wait(deadline);
    if (result == Wait::Ready) return true;
    // By its own clock, ZeroMQ may end a wait some milliseconds early.
    if (result == Wait::Closed || deadline.passed()) return false;
  }
}

bool Connection::closed() {
  while (monitor_ && monitor_->next()) closed_ = true;
  return closed_;
}

}  // namespace channel
