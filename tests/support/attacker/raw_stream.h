// A connection to a service, on which anything may be written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/channel/frames.h"
#include "platform/wire/messages.h"
#include "tests/support/deadline.h"
#include "tests/support/unique_fd.h"

namespace attacker {

using Bytes = std::span<const std::uint8_t>;

// The frame of a message.
std::vector<std::uint8_t> frameOf(std::uint32_t tag, const wire::Body& body);

class RawStream {
 public:
  // Does not wait for room among the connections that the service has not accepted yet.
  explicit RawStream(const std::string& path);

  // False if there was no connection, or the service has closed it and a call has noticed that.
  bool open() const { return bool(socket_); }

  // For poll(); -1 if it is not open.
  int descriptor() const { return socket_.get(); }

  // Writes what there is room for. Returns how many bytes.
  std::size_t write(Bytes bytes);

  // Waits for room until all are written. Returns false if the deadline passes first or the service closes it.
  bool writeAll(Bytes bytes, const testsupport::Deadline& deadline);

  // Reads what has arrived, without waiting.
  void read();

  // The next message of those that were read; nullopt if there is none that can be decoded. Valid until the next call
  // of read or next.
  std::optional<wire::Envelope> next();

  // Waits for the message with this tag and skips all others. Returns nullopt if the deadline passes first or the
  // service closes it.
  std::optional<wire::Envelope> answer(std::uint32_t tag, const testsupport::Deadline& deadline);

  // Says Hello and waits for the Welcome.
  std::optional<wire::Welcome> greet(const testsupport::Deadline& deadline);

 private:
  void wait(short events, const testsupport::Deadline& deadline) const;

  testsupport::UniqueFd socket_;
  channel::FrameReader reader_;
};

}  // namespace attacker
