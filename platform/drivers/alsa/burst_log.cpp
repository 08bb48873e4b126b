#include "platform/drivers/alsa/burst_log.h"

#include <algorithm>
#include <chrono>

namespace service::alsa {

void BurstLog::add(const std::string& what, std::uint64_t messages, Time now) {
  const auto [burst, isNew] = bursts_.try_emplace(what);
  if (isNew) burst->second.due = now + std::chrono::seconds(1);
  burst->second.messages += messages;
}

std::optional<Time> BurstLog::advance(Time now, const std::function<void(std::string_view)>& take) {
  std::optional<Time> next;
  for (auto burst = bursts_.begin(); burst != bursts_.end();) {
    const auto& [what, counted] = *burst;
    if (counted.due > now) {
      next = next ? std::min(*next, counted.due) : counted.due;
      ++burst;
      continue;
    }
    take(std::to_string(counted.messages) + (counted.messages == 1 ? " message " : " messages ") + what);
    burst = bursts_.erase(burst);
  }
  return next;
}

}  // namespace service::alsa
