// Messages that wait to be sent to one sink.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/drivers/jack/spsc_ring.h"

namespace drivers::jack {

// The service's end of a ring of pieces: each is a size (four bytes in this machine's order) and that many bytes. What
// the ring has no room for waits here.
class SinkQueue {
 public:
  // The most bytes of a piece. Longer messages, which are system exclusive, become several pieces.
  static constexpr std::size_t MaxPiece = std::size_t{64} * 1024;

  // ring: must outlive this object and be large enough for a piece.
  explicit SinkQueue(SpscRing& ring) : ring_(ring) {}

  // Appends a message.
  void put(std::span<const std::uint8_t> message);

  // Moves what fits into the ring.
  void pump();

  // The bytes that wait here, and how many messages they are. A message that is partly in the ring still waits.
  std::size_t waitingBytes() const { return waiting_.size() - begin_; }
  std::uint64_t waitingMessages() const { return messages_; }

 private:
  SpscRing& ring_;
  std::vector<std::uint8_t> waiting_;  // pieces, each followed by a byte: 1 if a message ends with it, else 0
  std::size_t begin_ = 0;              // of what is not in the ring yet
  std::uint64_t messages_ = 0;
};

}  // namespace drivers::jack
