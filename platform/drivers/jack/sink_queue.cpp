#include "platform/drivers/jack/sink_queue.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace drivers::jack {
namespace {

using Head = std::array<std::uint8_t, sizeof(std::uint32_t)>;

Head headOf(std::size_t size) {
  const auto number = static_cast<std::uint32_t>(size);
  Head head;
  std::memcpy(head.data(), &number, sizeof number);
  return head;
}

std::size_t sizeAt(std::span<const std::uint8_t> bytes) {
  std::uint32_t size = 0;
  std::memcpy(&size, bytes.data(), sizeof size);
  return size;
}

}  // namespace

void SinkQueue::put(std::span<const std::uint8_t> message) {
  pump();
  bool waits = waitingBytes() > 0;
  while (!message.empty()) {
    const auto piece = message.first(std::min(message.size(), MaxPiece));
    message = message.subspan(piece.size());
    const Head head = headOf(piece.size());
    if (!waits && ring_.push(head, piece)) continue;
    waits = true;
    waiting_.insert(waiting_.end(), head.begin(), head.end());
    waiting_.insert(waiting_.end(), piece.begin(), piece.end());
    waiting_.push_back(message.empty() ? 1 : 0);
    if (message.empty()) ++messages_;
  }
}

void SinkQueue::pump() {
  while (waitingBytes() > 0) {
    const auto rest = std::span<const std::uint8_t>(waiting_).subspan(begin_);
    const std::size_t size = sizeof(std::uint32_t) + sizeAt(rest);
    if (!ring_.push(rest.first(size), {})) break;
    messages_ -= rest[size];
    begin_ += size + 1;
  }
  // Removes what is in the ring only when it is at least half, so that each byte moves at most once.
  if (begin_ < waiting_.size() - begin_) return;
  waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(begin_));
  begin_ = 0;
}

}  // namespace drivers::jack
