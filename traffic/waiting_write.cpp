#include "traffic/waiting_write.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "terminal/awaited_room.h"

namespace flowscope {

namespace {

constexpr std::chrono::milliseconds Stretch{100};

std::int64_t now() {
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count();
}

}  // namespace

void Patience::end() {
  std::int64_t expected = Endless;
  end_.compare_exchange_strong(expected, now() + Stretch.count());
}

std::chrono::milliseconds Patience::rest() const {
  const std::int64_t end = end_;
  if (end == Endless) return Stretch;
  return std::clamp(std::chrono::milliseconds(end - now()), std::chrono::milliseconds(0), Stretch);
}

int writeWaiting(int descriptor, std::string_view text, const Patience& patience) {
  AwaitedRoom room;
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
      room.found();
    } else if (errno == EAGAIN) {
      const std::chrono::milliseconds rest = patience.rest();
      if (rest.count() == 0) return EAGAIN;
      room.await(descriptor, static_cast<int>(rest.count()));
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

}  // namespace flowscope
