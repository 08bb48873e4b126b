#include "platform/drivers/jack/sink_queue.h"

#include <gtest/gtest.h>

#include <cstring>

namespace drivers::jack {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The next piece in the ring.
Bytes piece(SpscRing& ring) {
  std::uint32_t size = 0;
  ring.peek(0, {reinterpret_cast<std::uint8_t*>(&size), sizeof size});
  Bytes bytes(size);
  ring.peek(sizeof size, bytes);
  ring.drop(sizeof size + size);
  return bytes;
}

TEST(SinkQueue, MessagesWithoutRoomInTheRingWaitInOrder) {
  SpscRing ring(16);  // two messages of three bytes
  SinkQueue queue(ring);
  for (std::uint8_t number = 0; number < 9; ++number) queue.put(Bytes{0x90, number, 1});
  EXPECT_EQ(queue.waitingMessages(), 7U);
  EXPECT_GT(queue.waitingBytes(), 0U);
  for (std::uint8_t number = 0; number < 9; ++number) {
    EXPECT_EQ(piece(ring), (Bytes{0x90, number, 1}));
    queue.pump();
  }
  EXPECT_EQ(ring.size(), 0U);
  EXPECT_EQ(queue.waitingMessages(), 0U);
  EXPECT_EQ(queue.waitingBytes(), 0U);
}

TEST(SinkQueue, LaterMessagesDoNotOvertakeWaitingOnes) {
  SpscRing ring(16);
  SinkQueue queue(ring);
  queue.put(Bytes(9, 1));
  queue.put(Bytes(8, 2));
  queue.put(Bytes{3});
  EXPECT_EQ(piece(ring), Bytes(9, 1));
  queue.put(Bytes{4});
  EXPECT_EQ(piece(ring), Bytes(8, 2));
  queue.pump();
  EXPECT_EQ(piece(ring), Bytes{3});
  EXPECT_EQ(piece(ring), Bytes{4});
}

TEST(SinkQueue, ALongMessageWaitsAsOneUntilItsLastPieceIsWritten) {
  SpscRing ring(SinkQueue::MaxPiece * 2);
  SinkQueue queue(ring);
  Bytes message(SinkQueue::MaxPiece * 3 + 5, 7);
  message.front() = 0xF0;
  message.back() = 0xF7;
  queue.put(message);
  EXPECT_EQ(queue.waitingMessages(), 1U);
  Bytes joined = piece(ring);
  EXPECT_EQ(joined.size(), SinkQueue::MaxPiece);
  queue.pump();
  EXPECT_EQ(queue.waitingMessages(), 1U);
  while (ring.size() > 0) {
    const Bytes next = piece(ring);
    joined.insert(joined.end(), next.begin(), next.end());
    queue.pump();
  }
  EXPECT_EQ(joined, message);
  EXPECT_EQ(queue.waitingMessages(), 0U);
}

}  // namespace
}  // namespace drivers::jack
