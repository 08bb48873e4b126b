// Messages on their way into one frame.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "platform/device/port.h"
#include "platform/wire/messages.h"

namespace streamctl {

// Gathers messages up to a bound that keeps a frame short: the service does nothing else while it takes one in.
class FrameBatch {
 public:
  static constexpr std::size_t MaxMessages = 512;
  static constexpr std::size_t MaxBytes = 64U << 10U;  // what the messages take up in the frame

  // What a message takes up: group id, length and bytes.
  static std::size_t sizeOf(const device::Message& message) { return 6 + message.bytes.size(); }

  // Whether there is room. An empty batch has room for any one message.
  bool hasRoomFor(const device::Message& message) const {
    if (items_.empty()) return true;
    return items_.size() < MaxMessages && bytes_ + sizeOf(message) <= MaxBytes;
  }

  // Copies the message.
  void add(const device::Message& message) {
    bytes_ += sizeOf(message);
    items_.push_back({message.group, {message.bytes.begin(), message.bytes.end()}});
  }

  bool empty() const { return items_.empty(); }
  std::size_t bytes() const { return bytes_; }

  // The messages in the order of adding; the batch is empty afterwards.
  std::vector<wire::InjectItem> take() {
    bytes_ = 0;
    return std::exchange(items_, {});
  }

 private:
  std::vector<wire::InjectItem> items_;
  std::size_t bytes_ = 0;
};

}  // namespace streamctl
