// Messages for one frame.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "platform/device/port.h"
#include "platform/wire/messages.h"

namespace streamctl {

// Collects messages up to a limit that keeps a frame short: the service does nothing else while it reads a frame.
class FrameBatch {
 public:
  static constexpr std::size_t MaxMessages = 512;
  static constexpr std::size_t MaxBytes = 64U << 10U;  // the size of the messages in the frame

  // The size of a message in the frame: group id, length and bytes.
  static std::size_t sizeOf(const device::Message& message) { return 6 + message.bytes.size(); }

  // Returns whether there is room. An empty batch has room for any one message.
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

  // Returns the messages in the order of adding and empties the batch.
  std::vector<wire::InjectItem> take() {
    bytes_ = 0;
    return std::exchange(items_, {});
  }

 private:
  std::vector<wire::InjectItem> items_;
  std::size_t bytes_ = 0;
};

}  // namespace streamctl
