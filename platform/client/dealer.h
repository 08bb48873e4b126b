// One socket of a client.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <zmq.hpp>

#include "platform/client/deadline.h"
#include "platform/host/socket_monitor.h"
#include "platform/wire/messages.h"

namespace client {

// A DEALER socket connected to a service. A connection that has closed, or could not be made, stays closed. One thread
// at a time; who hands it from thread to thread does so under a lock. Signals are not noticed, but where wait says so.
class Dealer {
 public:
  enum class Wait : std::uint8_t { Ready, Over, Interrupted, Closed };

  // Throws zmq::error_t when there is no such address, or the context gives no socket.
  Dealer(zmq::context_t& context, const std::string& address);

  // Does not wait. False when the message could not be handed over. The bytes are copied.
  bool send(std::span<const std::uint8_t> message);
  bool send(std::uint32_t tag, const wire::Body& body) { return send(wire::encode(tag, body)); }

  // The bytes of the next message, nothing when none stands ready. Valid until the next receive.
  std::optional<std::span<const std::uint8_t>> receive();

  // Waits for a message. Over: none has come in time; Interrupted: a signal came first; Closed: no more will come.
  Wait wait(const Deadline& deadline);

  // The same, going on after signals. False: none has come in time, or will come.
  bool waitThroughSignals(const Deadline& deadline);

  // False for a service in this process, whose connections do not close.
  bool noticesClosing() const { return monitor_.has_value(); }

  // True once the connection has closed. What had arrived before can still be received. Never true for a service in
  // this process.
  bool closed();

 private:
  zmq::socket_t socket_;
  std::optional<host::SocketMonitor> monitor_;  // none within the process, where connections do not close
  bool closed_ = false;
  zmq::message_t message_;
};

}  // namespace client
