// Frames in both directions on one socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/channel/frames.h"

namespace channel {

// What one read may bring.
inline constexpr std::size_t ReadBytes = 64U << 10U;

// A stream socket that does not block, with the frames that have arrived and those that wait to be written. Never
// blocks, and never raises SIGPIPE. Not thread-safe.
class Stream {
 public:
  // socket: stays open while the stream is used; -1: the stream has ended.
  explicit Stream(int socket) : socket_(socket) {}

  enum class Read : std::uint8_t { Bytes, Nothing, Ended };

  // Reads once. Bytes: some arrived; Nothing: none are there; Ended: none will arrive, because the other end has
  // closed, the connection is broken, or a frame is too long. What arrived before can still be taken.
  Read read();

  // True if the last read took all that had arrived by then: another one would most likely find nothing. False if the
  // next read ends the stream because a frame is too long.
  bool drained() const { return drained_ && !reader_.broken(); }

  // The message of the next frame that has arrived; nullopt if none is complete. Valid until the next call of read or
  // next.
  std::optional<std::span<const std::uint8_t>> next() { return reader_.next(); }

  // True if next returns a message.
  bool ready() const { return reader_.ready(); }

  // True if the next frame is longer than MaxFrameBytes: the stream has ended before it.
  bool broken() const { return reader_.broken(); }

  // Adds a frame to those that wait. Copies the message.
  void queue(std::span<const std::uint8_t> message);

  // Writes what waits, as far as the socket takes it. Returns false if the other end takes nothing any more, now and
  // from then on; what waits is lost.
  bool flush();

  // True once flush has returned false.
  bool failed() const { return failed_; }

  // Bytes that wait to be written.
  std::size_t waiting() const { return out_.size() - written_; }

  // The memory in use.
  std::size_t bytes() const { return reader_.bytes() + out_.capacity(); }

  // Frees the memory that is kept for later. What next has returned stays valid.
  void trim();

 private:
  int socket_;
  FrameReader reader_;
  std::vector<std::uint8_t> out_;
  std::size_t written_ = 0;  // bytes of out_
  bool drained_ = false;
  bool failed_ = false;
};

}  // namespace channel
