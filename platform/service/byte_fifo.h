// Waiting bytes, first in, first out.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

namespace service {

// Stores its bytes in chunks and frees each chunk when it has been read: memory use follows size().
class ByteFifo {
 public:
  static constexpr std::size_t ChunkBytes = 16U << 10U;

  void append(std::span<const std::uint8_t> bytes);

  // Moves the oldest count bytes to the end of out. count must be at most size().
  void moveTo(std::size_t count, std::vector<std::uint8_t>& out);

  std::size_t size() const { return size_; }

  // Memory held, in chunks: enough for size() bytes that begin anywhere in the first chunk.
  std::size_t chunkCount() const { return chunks_.size(); }

 private:
  using Chunk = std::array<std::uint8_t, ChunkBytes>;

  std::deque<std::unique_ptr<Chunk>> chunks_;
  std::size_t begin_ = 0;  // within the first chunk
  std::size_t size_ = 0;
};

}  // namespace service
