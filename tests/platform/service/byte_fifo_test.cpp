#include "platform/service/byte_fifo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

namespace service {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(ByteFifo, GivesBackTheBytesInAnyPieces) {
  constexpr std::size_t Chunk = ByteFifo::ChunkBytes;
  const std::size_t pieces[] = {1, Chunk - 1, Chunk, Chunk + 1, 3 * Chunk, 0, 7, 2 * Chunk - 7};
  ByteFifo fifo;
  std::deque<std::uint8_t> expected;
  std::uint8_t next = 0;
  for (int round = 0; round < 3; ++round) {
    for (const std::size_t in : pieces) {
      Bytes bytes(in);
      for (std::uint8_t& byte : bytes) byte = next = static_cast<std::uint8_t>(next * 5 + 1);
      fifo.append(bytes);
      expected.insert(expected.end(), bytes.begin(), bytes.end());
      const std::size_t count = std::min(expected.size(), in / 2 + Chunk / 3);
      Bytes moved;
      fifo.moveTo(count, moved);
      const auto end = expected.begin() + static_cast<std::ptrdiff_t>(count);
      EXPECT_EQ(moved, Bytes(expected.begin(), end));
      expected.erase(expected.begin(), end);
      EXPECT_EQ(fifo.size(), expected.size());
    }
  }
  Bytes last;
  fifo.moveTo(fifo.size(), last);
  EXPECT_EQ(last, Bytes(expected.begin(), expected.end()));
}

TEST(ByteFifo, AppendsToWhatIsThere) {
  ByteFifo fifo;
  fifo.append(Bytes{2, 3});
  Bytes bytes = {1};
  fifo.moveTo(2, bytes);
  EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
}

TEST(ByteFifo, GivesItsMemoryBackAsItIsRead) {
  ByteFifo fifo;
  fifo.append(Bytes(100 * ByteFifo::ChunkBytes));
  EXPECT_EQ(fifo.chunkCount(), 100U);
  Bytes bytes;
  fifo.moveTo(90 * ByteFifo::ChunkBytes + 1, bytes);
  EXPECT_EQ(fifo.chunkCount(), 10U);
  fifo.moveTo(fifo.size(), bytes);
  EXPECT_LE(fifo.chunkCount(), 1U);
}

TEST(ByteFifo, SmallBacklogHoldsLittleMemory) {
  ByteFifo fifo;
  Bytes bytes;
  for (int i = 0; i < 100'000; ++i) {
    fifo.append(Bytes(9));
    ASSERT_LE(fifo.chunkCount(), 2U);
    fifo.moveTo(9, bytes);
  }
  EXPECT_EQ(bytes.size(), 900'000U);
  EXPECT_LE(fifo.chunkCount(), 1U);
}

}  // namespace
}  // namespace service
