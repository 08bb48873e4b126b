// Bytes from one thread to another, without locks.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace drivers::jack {

// One thread writes and one thread reads; each calls only the operations that are marked as its own. None of them
// blocks, allocates or makes a system call.
class SpscRing {
 public:
  // Has room for at least this many bytes.
  explicit SpscRing(std::size_t bytes);

  // Writer: appends head and body together, or nothing if they do not fit. Returns whether they fit.
  bool push(std::span<const std::uint8_t> head, std::span<const std::uint8_t> body);

  // Returns how many bytes the ring holds: a lower bound for the reader, an upper bound for the writer.
  std::size_t size() const;

  // Reader: copies the bytes at offset `from` without removing them. The ring must hold them.
  void peek(std::size_t from, std::span<std::uint8_t> into) const;

  // Reader: removes the first bytes. The ring must hold them.
  void drop(std::size_t bytes);

 private:
  void put(std::size_t at, std::span<const std::uint8_t> bytes);

  std::vector<std::uint8_t> bytes_;  // size is a power of two
  // Only ever incremented. On cache lines of their own, so that the two threads do not slow each other down.
  alignas(64) std::atomic<std::size_t> written_{0};
  alignas(64) std::atomic<std::size_t> read_{0};
};

}  // namespace drivers::jack
