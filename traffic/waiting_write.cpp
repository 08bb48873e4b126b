#include "traffic/waiting_write.h"

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

PendingText::Outcome writeOnce(int descriptor, PendingText& text, Target target) {
  return target == Target::Pipe ? text.writeLines(descriptor) : text.writeOnce(descriptor);
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

int writeWaiting(int descriptor, PendingText& text, const Patience& patience, Target target) {
  AwaitedRoom room;
  for (;;) {
    const auto [state, error] = writeOnce(descriptor, text, target);
    if (state == PendingText::State::Written) return 0;
    if (state == PendingText::State::Refused) return error;
    if (state == PendingText::State::Left) {
      room.found();
      continue;
    }
    const std::chrono::milliseconds rest = patience.rest();
    if (rest.count() == 0) return EAGAIN;
    room.await(descriptor, static_cast<int>(rest.count()));
  }
}

int writeNow(int descriptor, PendingText& text, Target target) {
  for (;;) {
    const auto [state, error] = writeOnce(descriptor, text, target);
    if (state == PendingText::State::Written) return 0;
    if (state != PendingText::State::Left) return error;
  }
}

}  // namespace flowscope
