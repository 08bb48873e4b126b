// Waiting items, first in, first out.
#pragma once

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <list>
#include <span>
#include <type_traits>
#include <vector>

namespace service {

// Stores small items in chunks and frees each chunk when it has been read. Chunks are as large as what waits already,
// within limits: memory use follows size(), for a few bytes as well as for millions.
template <class Item>
class Fifo {
  static_assert(std::is_trivially_copyable_v<Item>);

 public:
  static constexpr std::size_t MaxChunkBytes = 16U << 10U;
  static constexpr std::size_t MinChunkBytes = 256;

  void append(std::span<const Item> items) {
    while (!items.empty()) {
      if (chunks_.empty() || chunks_.back().size() == chunks_.back().capacity()) addChunk(items.size());
      std::vector<Item>& chunk = chunks_.back();
      const auto piece = items.first(std::min(items.size(), chunk.capacity() - chunk.size()));
      chunk.insert(chunk.end(), piece.begin(), piece.end());
      size_ += piece.size();
      items = items.subspan(piece.size());
    }
  }
  void append(const Item& item) { append(std::span(&item, 1)); }

  // The oldest and the newest item; there must be one.
  const Item& front() const { return chunks_.front()[begin_]; }
  Item& back() { return chunks_.back().back(); }

  // Moves the oldest count items to the end of out. count must be at most size().
  void moveTo(std::size_t count, std::vector<Item>& out) {
    take(count, [&](std::span<const Item> piece) { out.insert(out.end(), piece.begin(), piece.end()); });
  }

  // Removes the oldest item; there must be one.
  void pop() {
    take(1, [](std::span<const Item> /*piece*/) {});
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  std::size_t chunkCount() const { return chunks_.size(); }

  // Bytes allocated for what waits, with what the allocator adds; 0 if nothing waits. (One smallest chunk may be kept
  // then, so that a message now and then costs no allocation.)
  std::size_t memory() const { return empty() ? 0 : memory_; }

 private:
  // A chunk's place in the list, and what the allocator adds to both.
  static constexpr std::size_t ChunkOverhead = 2 * sizeof(void*) + sizeof(std::vector<Item>) + 4 * sizeof(void*);

  void addChunk(std::size_t more) {
    constexpr std::size_t Least = MinChunkBytes / sizeof(Item);
    constexpr std::size_t Most = MaxChunkBytes / sizeof(Item);
    chunks_.emplace_back().reserve(std::clamp(std::bit_ceil(std::max(size_, more)), Least, Most));
    memory_ += memoryOf(chunks_.back());
  }

  template <class Sink>
  void take(std::size_t count, const Sink& sink) {
    assert(count <= size_);
    while (count > 0) {
      std::vector<Item>& chunk = chunks_.front();
      const auto waiting = std::span<const Item>(chunk).subspan(begin_);
      const auto piece = waiting.first(std::min(count, waiting.size()));
      sink(piece);
      count -= piece.size();
      size_ -= piece.size();
      begin_ += piece.size();
      if (begin_ < chunk.size()) continue;
      begin_ = 0;
      if (size_ == 0 && chunk.capacity() * sizeof(Item) <= MinChunkBytes) {
        chunk.clear();
      } else {
        memory_ -= memoryOf(chunk);
        chunks_.pop_front();
      }
    }
  }

  static std::size_t memoryOf(const std::vector<Item>& chunk) {
    return chunk.capacity() * sizeof(Item) + ChunkOverhead;
  }

  std::list<std::vector<Item>> chunks_;
  std::size_t begin_ = 0;  // within the first chunk
  std::size_t size_ = 0;
  std::size_t memory_ = 0;
};

}  // namespace service
