#include "platform/channel/socket_monitor.h"

#include <atomic>
#include <cstring>

#include "platform/system/through_signals.h"

namespace channel {
namespace {

std::string newAddress() {
  static std::atomic<std::uint64_t> count{0};
  return "inproc://monitor" + std::to_string(++count);
}

}  // namespace

SocketMonitor::SocketMonitor(zmq::context_t& context, zmq::socket_t& socket, int kinds)
    : socket_(socket), events_(context, zmq::socket_type::pair) {
  const std::string address = newAddress();
  const auto monitor = [&] { return zmq_socket_monitor(socket_.handle(), address.c_str(), kinds); };
  if (sys::throughSignals(monitor) < 0) throw zmq::error_t();
  events_.set(zmq::sockopt::linger, 0);
  // Without this, ZeroMQ's own thread, which serves all sockets, would wait for a reader that is busy or has just
  // ended.
  events_.set(zmq::sockopt::rcvhwm, 0);
  if (sys::throughSignals([&] { return zmq_connect(events_.handle(), address.c_str()); }) < 0) throw zmq::error_t();
}

SocketMonitor::~SocketMonitor() { zmq_socket_monitor(socket_.handle(), nullptr, 0); }

std::optional<SocketMonitor::Event> SocketMonitor::next() {
  // Two frames: u16 kind and i32 value in native byte order, then the address (zmq_socket_monitor(3)).
  const auto receive = [this](zmq::message_t& frame, int flags) {
    return sys::throughSignals([&] { return zmq_msg_recv(frame.handle(), events_.handle(), flags); }) >= 0;
  };
  zmq::message_t frame;
  if (!receive(frame, ZMQ_DONTWAIT)) return std::nullopt;
  Event event;
  if (frame.size() >= sizeof event.kind + sizeof event.value) {
    std::memcpy(&event.kind, frame.data(), sizeof event.kind);
    std::memcpy(&event.value, frame.data<const char>() + sizeof event.kind, sizeof event.value);
  }
  for (bool more = frame.more(); more && receive(frame, 0);) more = frame.more();
  return event;
}

}  // namespace channel
