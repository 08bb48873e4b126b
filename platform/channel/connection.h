// One connection of a client.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "platform/channel/deadline.h"
#include "platform/channel/stream.h"
#include "platform/system/unique_descriptor.h"
#include "platform/wire/messages.h"

namespace channel {

// What to tell the user when Connection::gotTooLong returns true.
inline constexpr std::string_view TooLongMessage = "the service sent a message that is too long";

// A stream socket connected to a service. A connection that has closed, or could not be made, stays closed. Not
// thread-safe: threads that share it hold a lock. Signals interrupt no call except wait.
class Connection {
 public:
  enum class Wait : std::uint8_t { Ready, Over, Interrupted, Closed };

  // socket: does not block; empty if the connection could not be made.
  explicit Connection(sys::UniqueDescriptor socket);

  // Does not block: what the socket does not take now is sent by later calls of any operation but closed. Returns false
  // if the message could not be sent. Copies the bytes.
  bool send(std::span<const std::uint8_t> message);
  bool send(std::uint32_t tag, const wire::Body& body) { return send(wire::encode(tag, body)); }

  // Waits until the socket has taken everything. Returns false if it does not in time, or never will.
  bool flush(const Deadline& deadline);

  // Bytes that wait until the socket takes them.
  std::size_t waiting() const { return stream_.waiting(); }

  // The bytes of the next message, nullopt if none is ready. Valid until the next receive or wait.
  std::optional<std::span<const std::uint8_t>> receive();

  // Like receive, but without a look at the socket if the last one found all that was there. So one message costs one
  // look, not two; what has arrived since ends the next wait.
  std::optional<std::span<const std::uint8_t>> receiveRest();

  // Waits for a message. Over: the deadline passed; Interrupted: a signal arrived first; Closed: no message will
  // arrive.
  Wait wait(const Deadline& deadline);

  // Like wait, but continues after signals. Returns false if no message arrives in time or none will arrive.
  bool waitThroughSignals(const Deadline& deadline);

  // Closes the connection; the service sees its end at once.
  void close();

  // True once the connection has closed because the service announced a message longer than MaxFrameBytes.
  bool gotTooLong() const { return stream_.broken(); }

  // True once the connection has closed. Messages that arrived before can still be received. Does not block.
  bool closed();

 private:
  // Takes in some of what has arrived, up to the first whole message.
  void read();

  sys::UniqueDescriptor socket_;
  Stream stream_;
  bool closed_;
};

}  // namespace channel
