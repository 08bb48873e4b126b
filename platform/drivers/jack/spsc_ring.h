// Bytes from one thread to another, without locks.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace drivers::jack {

// One thread writes, one thread reads; each only by the operations that are marked as its own. None of them waits,
// allocates or calls the system.
class SpscRing {
 public:
  // Room for at least so many bytes.
  explicit SpscRing(std::size_t bytes);

  // Writer: appends head and body together, or nothing when they do not fit. Answers whether they did.
  bool push(std::span<const std::uint8_t> head, std::span<const std::uint8_t> body);

  // How many bytes are there: for the reader at least so many, for the writer at most.
  std::size_t size() const;

  // Reader: copies the bytes that stand `from` bytes behind the first, without taking them away. They must be there.
  void peek(std::size_t from, std::span<std::uint8_t> into) const;

  // Reader: takes away the first bytes, which must be there.
  void drop(std::size_t bytes);

 private:
  void put(std::size_t at, std::span<const std::uint8_t> bytes);

  std::vector<std::uint8_t> bytes_;  // a power of two of them
  // Counted up for ever; on lines of their own, so that the two threads do not disturb each other's.
  alignas(64) std::atomic<std::size_t> written_{0};
  alignas(64) std::atomic<std::size_t> read_{0};
};

}  // namespace drivers::jack
