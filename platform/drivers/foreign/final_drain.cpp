#include "platform/drivers/foreign/final_drain.h"

#include <thread>
#include <utility>

namespace drivers {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto LastPatience = std::chrono::seconds(1);

}  // namespace

void drainFinally(std::chrono::nanoseconds pause, const std::function<void()>& pump,
                  const std::function<std::size_t()>& waiting) {
  std::size_t left = waiting();
  for (auto moved = Clock::now(); left != 0 && Clock::now() - moved < LastPatience;) {
    std::this_thread::sleep_for(pause);
    pump();
    if (std::exchange(left, waiting()) != left) moved = Clock::now();
  }
}

}  // namespace drivers
