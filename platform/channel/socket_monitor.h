// Reports opened and closed connections of a socket.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <zmq.hpp>

namespace channel {

// Reports events of one ZeroMQ socket, which must outlive it. Connections within the process cause none. For the thread
// that uses the socket.
class SocketMonitor {
 public:
  struct Event {
    std::uint16_t kind = 0;   // ZMQ_EVENT_...
    std::int32_t value = -1;  // for ZMQ_EVENT_DISCONNECTED: the number of the connection
  };

  // kinds: a set of ZMQ_EVENT_ bits. Throws zmq::error_t if the context provides no socket.
  SocketMonitor(zmq::context_t& context, zmq::socket_t& socket, int kinds);
  SocketMonitor(const SocketMonitor&) = delete;
  SocketMonitor& operator=(const SocketMonitor&) = delete;
  ~SocketMonitor();

  // Returns the next event; nullopt if there is none. Does not block.
  std::optional<Event> next();

  // For polling: readable when an event is ready.
  void* handle() { return events_.handle(); }

 private:
  zmq::socket_t& socket_;
  zmq::socket_t events_;
};

}  // namespace channel
