// How long a piece of an answer may be.
#pragma once

#include <algorithm>
#include <cstddef>

namespace host {

// What still fits into a piece: half a MiB, and no more entries than are handled in about a millisecond. Many names are
// short, so bytes alone do not bound the time.
class PieceRoom {
 public:
  static constexpr std::size_t Bytes = 512U << 10U;
  static constexpr std::size_t Entries = 10'000;

  // An entry takes what is left, if it is larger: one entry more than fits is not too much.
  void take(std::size_t bytes, std::size_t entries = 1) {
    bytes_ -= std::min(bytes, bytes_);
    entries_ -= std::min(entries, entries_);
  }

  bool isFull() const { return bytes_ == 0 || entries_ == 0; }

 private:
  std::size_t bytes_ = Bytes;
  std::size_t entries_ = Entries;
};

}  // namespace host
