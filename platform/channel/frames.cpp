#include "platform/channel/frames.h"

#include <algorithm>

namespace channel {

void appendFrame(std::span<const std::uint8_t> message, std::vector<std::uint8_t>& out) {
  // In one step, so that half a frame is never left behind.
  const std::size_t before = out.size();
  out.resize(before + FrameFrontBytes + message.size());
  for (std::size_t i = 0; i < FrameFrontBytes; ++i) {
    out[before + i] = static_cast<std::uint8_t>(message.size() >> (i * 8));
  }
  std::ranges::copy(message, out.begin() + static_cast<std::ptrdiff_t>(before + FrameFrontBytes));
}

void FrameReader::feed(std::span<const std::uint8_t> bytes) {
  if (taken_ == buffer_.size()) {
    forgetTaken();
  } else if (taken_ >= buffer_.size() / 2) {
    const auto rest = buffer_.begin() + static_cast<std::ptrdiff_t>(taken_);
    if (buffer_.capacity() > KeptBytes && buffer_.size() - taken_ + bytes.size() <= KeptBytes) {
      buffer_ = std::vector<std::uint8_t>(rest, buffer_.end());
    } else {
      buffer_.erase(buffer_.begin(), rest);
    }
    taken_ = 0;
  }
  grow(bytes.size());
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

void FrameReader::grow(std::size_t bytes) {
  // Elsewhere a vector does well. To double its size for a long frame would take twice the memory of the frame.
  const auto length = nextLength();
  const std::size_t needed = buffer_.size() + bytes;
  if (!length || *length <= KeptBytes || needed <= buffer_.capacity()) return;
  const std::size_t end = taken_ + FrameFrontBytes + *length;
  buffer_.reserve(std::max(needed, std::min(end, 2 * buffer_.capacity())));
}

void FrameReader::trim() {
  if (taken_ == 0 && buffer_.capacity() > buffer_.size()) buffer_ = std::vector<std::uint8_t>(buffer_);
}

void FrameReader::forgetTaken() {
  buffer_.clear();
  taken_ = 0;
  if (buffer_.capacity() > KeptBytes) std::vector<std::uint8_t>().swap(buffer_);
}

std::optional<std::span<const std::uint8_t>> FrameReader::next() {
  if (!ready()) {
    if (taken_ == buffer_.size()) forgetTaken();
    return std::nullopt;
  }
  const auto message = std::span<const std::uint8_t>(buffer_).subspan(taken_ + FrameFrontBytes, *nextLength());
  taken_ += FrameFrontBytes + message.size();
  return message;
}

bool FrameReader::ready() const {
  const auto length = nextLength();
  return length && *length <= longest_ && buffer_.size() - taken_ - FrameFrontBytes >= *length;
}

bool FrameReader::broken() const {
  const auto length = nextLength();
  return length && *length > longest_;
}

std::optional<std::size_t> FrameReader::nextLength() const {
  if (buffer_.size() - taken_ < FrameFrontBytes) return std::nullopt;
  std::size_t length = 0;
  for (std::size_t i = 0; i < FrameFrontBytes; ++i) length |= std::size_t{buffer_[taken_ + i]} << (i * 8);
  return length;
}

}  // namespace channel
