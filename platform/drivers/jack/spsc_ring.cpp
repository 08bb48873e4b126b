#include "platform/drivers/jack/spsc_ring.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

namespace drivers::jack {

SpscRing::SpscRing(std::size_t bytes) : bytes_(std::bit_ceil(std::max<std::size_t>(bytes, 1))) {}

bool SpscRing::push(std::span<const std::uint8_t> head, std::span<const std::uint8_t> body) {
  const std::size_t written = written_.load(std::memory_order_relaxed);
  const std::size_t taken = written - read_.load(std::memory_order_acquire);
  if (bytes_.size() - taken < head.size() + body.size()) return false;
  put(written, head);
  put(written + head.size(), body);
  written_.store(written + head.size() + body.size(), std::memory_order_release);
  return true;
}

std::size_t SpscRing::size() const {
  return written_.load(std::memory_order_acquire) - read_.load(std::memory_order_relaxed);
}

void SpscRing::peek(std::size_t from, std::span<std::uint8_t> into) const {
  assert(from + into.size() <= size());
  if (into.empty()) return;
  const std::size_t at = (read_.load(std::memory_order_relaxed) + from) & (bytes_.size() - 1);
  const std::size_t first = std::min(into.size(), bytes_.size() - at);
  std::memcpy(into.data(), bytes_.data() + at, first);
  if (first < into.size()) std::memcpy(into.data() + first, bytes_.data(), into.size() - first);
}

void SpscRing::drop(std::size_t bytes) {
  assert(bytes <= size());
  read_.store(read_.load(std::memory_order_relaxed) + bytes, std::memory_order_release);
}

void SpscRing::put(std::size_t at, std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return;
  at &= bytes_.size() - 1;
  const std::size_t first = std::min(bytes.size(), bytes_.size() - at);
  std::memcpy(bytes_.data() + at, bytes.data(), first);
  if (first < bytes.size()) std::memcpy(bytes_.data(), bytes.data() + first, bytes.size() - first);
}

}  // namespace drivers::jack
