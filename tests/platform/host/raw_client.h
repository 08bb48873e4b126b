// A client that says what a test wants, right or wrong.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/channel/connection.h"
#include "platform/channel/deadline.h"
#include "platform/system/local_socket.h"
#include "platform/system/unique_descriptor.h"
#include "platform/wire/messages.h"

namespace host {

// One connection.
class RawClient {
  static constexpr std::chrono::milliseconds Patience{10'000};

 public:
  explicit RawClient(sys::UniqueDescriptor socket) : connection_(std::move(socket)) {}

  // To a local socket with this path.
  explicit RawClient(const std::string& path) : RawClient(sys::connectLocalSocket(path, Patience)) {}

  // False when the service does not take it in this time; then it is sent while the next message is waited for.
  bool send(const std::vector<std::uint8_t>& bytes, std::chrono::milliseconds patience = Patience) {
    return connection_.send(bytes) && connection_.flush(channel::Deadline(patience));
  }
  bool send(std::uint32_t tag, const wire::Body& body, std::chrono::milliseconds patience = Patience) {
    return send(wire::encode(tag, body), patience);
  }

  // The next message; nothing when none comes for ten seconds.
  std::optional<std::vector<std::uint8_t>> receive() {
    if (!connection_.waitThroughSignals(channel::Deadline(Patience))) return std::nullopt;
    const auto message = *connection_.receive();
    return std::vector<std::uint8_t>(message.begin(), message.end());
  }

  // The session that the service gives; 0 when it gives none. What it says before is skipped.
  std::uint64_t hello() {
    send(1, wire::Hello{});
    while (const auto bytes = receive()) {
      const auto envelope = wire::decode(*bytes);
      if (!envelope) return 0;
      if (const auto* welcome = std::get_if<wire::Welcome>(&envelope->body)) return welcome->session;
    }
    return 0;
  }

 private:
  channel::Connection connection_;
};

}  // namespace host
