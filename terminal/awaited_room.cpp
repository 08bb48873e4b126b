#include "terminal/awaited_room.h"

#include <poll.h>

#include <algorithm>

namespace flowscope {

namespace {

constexpr int LongestPause = 16;

}  // namespace

void AwaitedRoom::await(int descriptor, int timeout) {
  const int pause = timeout < 0 ? pause_ : std::min(pause_, timeout);
  if (pause > 0) poll(nullptr, 0, pause);
  pollfd room{descriptor, POLLOUT, 0};
  if (poll(&room, 1, timeout < 0 ? timeout : timeout - pause) > 0) {
    pause_ = std::clamp(2 * pause_, 1, LongestPause);
  }
}

}  // namespace flowscope
