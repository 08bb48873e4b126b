// Text that waits in memory until it is written to a descriptor.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "terminal/held_signals.h"

namespace flowscope {

// First in, first out. Any thread may append and write; each step is whole. A signal handler that interrupts one finds
// the text as it was before or after.
class PendingText {
 public:
  static constexpr std::size_t Capacity = 65536;

  enum class State {
    Written,  // nothing is left
    Left,     // there is more to write
    NoRoom,   // the descriptor does not block, and has no room
    Refused,  // the descriptor has an error, see Outcome::error
  };

  struct Outcome {
    State state;
    int error = 0;  // an errno
  };

  // How much was appended ever: a place in the stream of text.
  using Mark = std::uint64_t;
  static constexpr Mark Everything = UINT64_MAX;

  // Copies as much of the text as there is room for; returns how much that is.
  std::size_t append(std::string_view text);

  // Copies the text if there is room for all of it; returns whether there was.
  bool appendWhole(std::string_view text);

  bool empty() const;
  Mark end() const;

  // Writes once, what lies before the mark. Blocks as the descriptor does, but not longer than until a signal.
  Outcome writeOnce(int descriptor, Mark before = Everything);

  // Removes what lies before the mark and returns it.
  std::string take(Mark before);

  // Writes once to a pipe that does not block, and which takes a text of this size whole or not at all: as many lines
  // as it has room for, but only one if it has little. A line that is larger than that is cut.
  Outcome writeLines(int pipe);

  // Forgets what waits.
  void clear();

  // For signal handlers: end(), or 0 if another thread has the text for too long.
  Mark endOnSignal(const PartingTime& time) const noexcept;

  // For signal handlers: writes what lies before the mark, as far as the descriptor has room and the time allows.
  // Returns the error that kept it from that, if it is not the lack of room or time; else 0.
  int writeOnSignal(int descriptor, const PartingTime& time, Mark before = Everything) noexcept;

 private:
  // The caller of these has the lock.
  int writeReady(int descriptor, const PartingTime& time, Mark before) noexcept;
  std::size_t makeRoom(std::size_t size);
  void copy(std::string_view text);
  std::size_t countOfLines(std::size_t most) const noexcept;
  std::size_t countBefore(Mark mark) const noexcept;
  void remove(std::size_t count) noexcept;
  Outcome writeLocked(int descriptor, Mark before, std::size_t most) noexcept;

  mutable SignalSafeLock lock_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  Mark appended_ = 0;
  std::array<char, Capacity> characters_;
};

}  // namespace flowscope
