// One socket of a client.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <zmq.hpp>

#include "platform/channel/deadline.h"
#include "platform/channel/socket_monitor.h"
#include "platform/wire/messages.h"

namespace channel {

// A DEALER socket connected to a service. A connection that has closed, or could not be made, stays closed. Not
// thread-safe: threads that share it hold a lock. Signals interrupt no call except wait.
class Connection {
 public:
  enum class Wait : std::uint8_t { Ready, Over, Interrupted, Closed };

  // Throws zmq::error_t if there is no such address, or if the context gives no socket.
  Connection(zmq::context_t& context, const std::string& address);

  // Does not block. Returns false if the message could not be sent. Copies the bytes.
  bool send(std::span<const std::uint8_t> message);
  bool send(std::uint32_t tag, const wire::Body& body) { return send(wire::encode(tag, body)); }

  // The bytes of the next message, nullopt if none is ready. Valid until the next receive.
  std::optional<std::span<const std::uint8_t>> receive();

  // Waits for a message. Over: the deadline passed; Interrupted: a signal arrived first; Closed: no message will
  // arrive.
  Wait wait(const Deadline& deadline);

  // Like wait, but continues after signals. Returns false if no message arrives in time or none will arrive.
  bool waitThroughSignals(const Deadline& deadline);

  // False for a service in this process, whose connections do not close.
  bool noticesClosing() const { return monitor_.has_value(); }

  // True once the connection has closed. Messages that arrived before can still be received. Never true for a service
  // in this process.
  bool closed();

 private:
  zmq::socket_t socket_;
  std::optional<SocketMonitor> monitor_;  // nullopt within the process, where connections do not close
  bool closed_ = false;
  zmq::message_t message_;
};

}  // namespace channel
