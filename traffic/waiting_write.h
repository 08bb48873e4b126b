// Writing to what may have no room, without waiting for good.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string_view>

namespace flowscope {

// Until when a writer may wait for room; without an end at first. Any thread.
class Patience {
 public:
  // From now on a writer waits 100 milliseconds more at most, however often it writes. A second call changes nothing.
  void end();

  // How long a writer may wait at a stretch before it asks again; zero when it may wait no more.
  std::chrono::milliseconds rest() const;

 private:
  static constexpr std::int64_t Endless = -1;

  std::atomic<std::int64_t> end_ = Endless;  // milliseconds of the steady clock
};

static_assert(std::atomic<std::int64_t>::is_always_lock_free);

// Writes the whole text to a descriptor that does not block. Waits for room as long as patience lasts; notices its end
// within 100 milliseconds. Answers 0, or the error that kept the rest from being written: EAGAIN when there was no room
// in time.
int writeWaiting(int descriptor, std::string_view text, const Patience& patience);

}  // namespace flowscope
