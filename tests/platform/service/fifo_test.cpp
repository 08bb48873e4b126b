#include "platform/service/fifo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

namespace service {
namespace {

using Bytes = std::vector<std::uint8_t>;
using ByteFifo = Fifo<std::uint8_t>;

TEST(Fifo, GivesBackTheBytesInAnyPieces) {
  constexpr std::size_t Chunk = ByteFifo::MaxChunkBytes;
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

TEST(Fifo, AppendsToWhatIsThere) {
  ByteFifo fifo;
  fifo.append(Bytes{2, 3});
  Bytes bytes = {1};
  fifo.moveTo(2, bytes);
  EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
}

TEST(Fifo, GivesItsMemoryBackAsItIsRead) {
  ByteFifo fifo;
  fifo.append(Bytes(100 * ByteFifo::MaxChunkBytes));
  EXPECT_EQ(fifo.chunkCount(), 100U);
  Bytes bytes;
  fifo.moveTo(90 * ByteFifo::MaxChunkBytes + 1, bytes);
  EXPECT_EQ(fifo.chunkCount(), 10U);
  fifo.moveTo(fifo.size(), bytes);
  EXPECT_LE(fifo.chunkCount(), 1U);
}

TEST(Fifo, SmallBacklogHoldsLittleMemory) {
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

TEST(Fifo, ChunksAreAsLargeAsWhatWaits) {
  ByteFifo fifo;
  EXPECT_EQ(fifo.memory(), 0U);
  fifo.append(Bytes(9));
  EXPECT_LT(fifo.memory(), 400U);
  std::size_t size = 9;
  while (size < 1'000'000) {
    fifo.append(Bytes(9));
    size += 9;
    ASSERT_GE(fifo.memory(), size);
    ASSERT_LE(fifo.memory(), 2 * size + 1000);
  }
  Bytes bytes;
  fifo.moveTo(size - 9, bytes);
  EXPECT_LE(fifo.memory(), 2 * ByteFifo::MaxChunkBytes);
  fifo.moveTo(9, bytes);
  EXPECT_EQ(fifo.memory(), 0U);
}

TEST(Fifo, HoldsItemsThatAreNoBytes) {
  struct Pair {
    std::uint64_t one = 0;
    std::uint64_t two = 0;
  };
  Fifo<Pair> fifo;
  for (std::uint64_t i = 0; i < 10'000; ++i) {
    fifo.append({i, 0});
    fifo.back().two = i * i;
  }
  for (std::uint64_t i = 0; i < 10'000; ++i) {
    ASSERT_EQ(fifo.front().one, i);
    ASSERT_EQ(fifo.front().two, i * i);
    fifo.pop();
  }
  EXPECT_TRUE(fifo.empty());
}

}  // namespace
}  // namespace service
