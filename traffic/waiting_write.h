// Writes to a descriptor that may have no room. The waiting can be ended from outside.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "terminal/pending_text.h"

namespace flowscope {

// How long a writer may wait for room: without limit until end() is called. Thread-safe.
class Patience {
 public:
  // From now on the writer may wait 100 milliseconds more, in all its writes together. A second call changes nothing.
  void end();

  // Returns how long the writer may wait before it asks again; zero if it may wait no more.
  std::chrono::milliseconds rest() const;

 private:
  static constexpr std::int64_t Endless = -1;

  std::atomic<std::int64_t> end_ = Endless;  // milliseconds of the steady clock
};

static_assert(std::atomic<std::int64_t>::is_always_lock_free);

// What stands behind a descriptor.
enum class Target : std::uint8_t { Pipe, Other };

// Writes the whole text to a non-blocking descriptor. Waits for room as long as patience lasts, and notices within 100
// milliseconds that it ends. Returns 0, or the error that kept the rest from being written: EAGAIN if there was no room
// in time. The rest stays in the text. A pipe gets whole lines (see PendingText::writeLines).
int writeWaiting(int descriptor, PendingText& text, const Patience& patience, Target target = Target::Other);

// The same without waiting at all.
int writeNow(int descriptor, PendingText& text, Target target = Target::Other);

}  // namespace flowscope
