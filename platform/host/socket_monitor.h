// Connections of a socket that come and go.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <zmq.hpp>

namespace host {

// Tells of events of one ZeroMQ socket, which must outlive it. Connections within the process have none. For the thread
// that uses the socket.
class SocketMonitor {
 public:
  struct Event {
    std::uint16_t kind = 0;   // ZMQ_EVENT_...
    std::int32_t value = -1;  // of ZMQ_EVENT_DISCONNECTED: the number of the connection
  };

  // kinds: a set of ZMQ_EVENT_ bits. Throws zmq::error_t when the context gives no socket.
  SocketMonitor(zmq::context_t& context, zmq::socket_t& socket, int kinds);
  SocketMonitor(const SocketMonitor&) = delete;
  SocketMonitor& operator=(const SocketMonitor&) = delete;
  ~SocketMonitor();

  // The next event; nothing when there is none. Does not wait.
  std::optional<Event> next();

  // For polling: readable when an event stands ready.
  void* handle() { return events_.handle(); }

 private:
  zmq::socket_t& socket_;
  zmq::socket_t events_;
};

}  // namespace host
