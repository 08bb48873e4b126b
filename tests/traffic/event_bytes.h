// Events as byte strings, the way a service sends them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "evtsrv.h"

namespace flowscope {

using Bytes = std::vector<std::uint8_t>;

class EventBytes {
 public:
  explicit EventBytes(bool bigEndian = false) : bigEndian_(bigEndian), bytes_(EvtSrv::MemoryHolder::HeaderSize, 0xEE) {
    bytes_[0] = bigEndian ? 1 : 0;
  }

  EventBytes& record(std::uint16_t group, const Bytes& message) {
    return word(static_cast<std::uint32_t>(message.size() + 2)).half(group).raw(message);
  }

  EventBytes& word(std::uint32_t value) { return number(value, 4); }
  EventBytes& half(std::uint16_t value) { return number(value, 2); }

  EventBytes& raw(const Bytes& bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }

  const Bytes& bytes() const { return bytes_; }

  // The event as a port receives it. A view: the bytes must outlive it.
  EvtSrv::MemoryHolder holder() const { return EvtSrv::MemoryHolder(bytes_); }

 private:
  EventBytes& number(std::uint32_t value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t shift = 8 * (bigEndian_ ? count - 1 - i : i);
      bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
    return *this;
  }

  bool bigEndian_;
  Bytes bytes_;
};

}  // namespace flowscope
