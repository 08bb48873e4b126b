// What waits to go out to one sink.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/drivers/jack/spsc_ring.h"

namespace drivers::jack {

// The service's end of a ring of pieces: each a size (four bytes of this machine) and so many bytes. What the ring has
// no room for waits here.
class Outlet {
 public:
  // Bytes that one piece has at most. Longer messages, which are system exclusive, become several pieces.
  static constexpr std::size_t MaxPiece = std::size_t{64} * 1024;

  // ring: lives longer, and has room for a piece.
  explicit Outlet(SpscRing& ring) : ring_(ring) {}

  // Appends a message.
  void put(std::span<const std::uint8_t> message);

  // Moves into the ring what it has room for.
  void pump();

  // Bytes that wait here, and how many messages they are. A message that has gone into the ring in part still waits.
  std::size_t waitingBytes() const { return waiting_.size() - begin_; }
  std::uint64_t waitingMessages() const { return messages_; }

 private:
  SpscRing& ring_;
  std::vector<std::uint8_t> waiting_;  // pieces, each with a byte behind it: whether a message ends with it
  std::size_t begin_ = 0;              // of what is not in the ring yet
  std::uint64_t messages_ = 0;
};

}  // namespace drivers::jack
