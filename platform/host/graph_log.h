// Changes of the patch graph on their way to the clients.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

namespace host {

// The latest changes as messages, found by their versions, which follow one another. Bounded: the oldest are forgotten.
class GraphLog {
 public:
  // most: how many changes it keeps.
  explicit GraphLog(std::size_t most) : most_(most) {}

  // version: of the graph after this change. If changes before it are missing, all earlier ones are forgotten.
  void add(std::uint64_t version, std::vector<std::uint8_t> message) {
    if (version != first_ + messages_.size()) clear();
    if (messages_.empty()) first_ = version;
    messages_.push_back(std::move(message));
    if (messages_.size() <= most_) return;
    messages_.pop_front();
    ++first_;
  }

  // The change that follows this version; null if it was forgotten, or is still to come. Valid until the next change.
  const std::vector<std::uint8_t>* after(std::uint64_t version) const {
    if (version + 1 < first_ || version + 1 - first_ >= messages_.size()) return nullptr;
    return &messages_[static_cast<std::size_t>(version + 1 - first_)];
  }

  void clear() { messages_.clear(); }

  std::size_t size() const { return messages_.size(); }

 private:
  std::size_t most_;
  std::deque<std::vector<std::uint8_t>> messages_;
  std::uint64_t first_ = 0;  // the version of the first
};

}  // namespace host
