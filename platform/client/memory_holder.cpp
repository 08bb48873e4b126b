#include <algorithm>

#include "evtsrv.h"

namespace EvtSrv {

MemoryHolder::MemoryHolder(std::size_t size)
    : owned_(size), bytes_(owned_), cursor_(std::min(HeaderSize, bytes_.size())) {}

MemoryHolder::MemoryHolder(std::span<const std::uint8_t> event) noexcept
    : bytes_(event), cursor_(std::min(HeaderSize, bytes_.size())) {}

const std::uint8_t* MemoryHolder::getCurrentOffset(std::size_t count) noexcept {
  if (count > bytes_.size() - cursor_) {
    cursor_ = bytes_.size();
    return nullptr;
  }
  const std::uint8_t* at = bytes_.data() + cursor_;
  cursor_ += count;
  return at;
}

}  // namespace EvtSrv
