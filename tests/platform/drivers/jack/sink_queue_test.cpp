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

TEST(Outlet, MessagesWithoutRoomInTheRingWaitInOrder) {
  SpscRing ring(16);  // two messages of three bytes
  Outlet outlet(ring);
  for (std::uint8_t number = 0; number < 9; ++number) outlet.put(Bytes{0x90, number, 1});
  EXPECT_EQ(outlet.waitingMessages(), 7U);
  EXPECT_GT(outlet.waitingBytes(), 0U);
  for (std::uint8_t number = 0; number < 9; ++number) {
    EXPECT_EQ(piece(ring), (Bytes{0x90, number, 1}));
    outlet.pump();
  }
  EXPECT_EQ(ring.size(), 0U);
  EXPECT_EQ(outlet.waitingMessages(), 0U);
  EXPECT_EQ(outlet.waitingBytes(), 0U);
}

TEST(Outlet, LaterMessagesDoNotOvertakeWaitingOnes) {
  SpscRing ring(16);
  Outlet outlet(ring);
  outlet.put(Bytes(9, 1));
  outlet.put(Bytes(8, 2));
  outlet.put(Bytes{3});
  EXPECT_EQ(piece(ring), Bytes(9, 1));
  outlet.put(Bytes{4});
  EXPECT_EQ(piece(ring), Bytes(8, 2));
  outlet.pump();
  EXPECT_EQ(piece(ring), Bytes{3});
  EXPECT_EQ(piece(ring), Bytes{4});
}

TEST(Outlet, ALongMessageWaitsAsOneUntilItsLastPieceIsWritten) {
  SpscRing ring(Outlet::MaxPiece * 2);
  Outlet outlet(ring);
  Bytes message(Outlet::MaxPiece * 3 + 5, 7);
  message.front() = 0xF0;
  message.back() = 0xF7;
  outlet.put(message);
  EXPECT_EQ(outlet.waitingMessages(), 1U);
  Bytes joined = piece(ring);
  EXPECT_EQ(joined.size(), Outlet::MaxPiece);
  outlet.pump();
  EXPECT_EQ(outlet.waitingMessages(), 1U);
  while (ring.size() > 0) {
    const Bytes next = piece(ring);
    joined.insert(joined.end(), next.begin(), next.end());
    outlet.pump();
  }
  EXPECT_EQ(joined, message);
  EXPECT_EQ(outlet.waitingMessages(), 0U);
}

}  // namespace
}  // namespace drivers::jack
