#include "platform/service/byte_fifo.h"

#include <algorithm>
#include <cassert>

namespace service {

void ByteFifo::append(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const std::size_t end = begin_ + size_;
    if (end == chunks_.size() * ChunkBytes) chunks_.push_back(std::make_unique_for_overwrite<Chunk>());
    const auto room = std::span(*chunks_.back()).subspan(end % ChunkBytes);
    const auto piece = bytes.first(std::min(bytes.size(), room.size()));
    std::ranges::copy(piece, room.begin());
    size_ += piece.size();
    bytes = bytes.subspan(piece.size());
  }
}

void ByteFifo::moveTo(std::size_t count, std::vector<std::uint8_t>& out) {
  assert(count <= size_);
  while (count > 0) {
    const auto waiting = std::span(*chunks_.front()).subspan(begin_);
    const auto piece = waiting.first(std::min(count, waiting.size()));
    out.insert(out.end(), piece.begin(), piece.end());
    count -= piece.size();
    size_ -= piece.size();
    begin_ += piece.size();
    if (begin_ < ChunkBytes) continue;
    chunks_.pop_front();
    begin_ = 0;
  }
}

}  // namespace service
