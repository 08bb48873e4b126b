#include "platform/drivers/burst_log.h"

#include <chrono>

#include "platform/drivers/soonest.h"

namespace service {

void BurstLog::add(std::uint64_t count, std::string_view noun, std::string_view what, Time now) {
  const auto [burst, isNew] = bursts_.try_emplace({std::string(noun), std::string(what)});
  if (isNew) burst->second.due = now + std::chrono::seconds(1);
  burst->second.count += count;
}

void BurstLog::addUnsent(std::uint64_t messages, std::string_view port, std::string_view why, Time now) {
  add(messages, "message", std::string("for \"").append(port).append("\" not sent: ").append(why), now);
}

std::optional<Time> BurstLog::advance(Time now, const std::function<void(std::string_view)>& take) {
  std::optional<Time> next;
  for (auto at = bursts_.begin(); at != bursts_.end();) {
    const auto& [text, burst] = *at;
    if (burst.due > now) {
      soonest(next, burst.due);
      ++at;
      continue;
    }
    take(std::to_string(burst.count) + " " + text.first + (burst.count == 1 ? " " : "s ") + text.second);
    at = bursts_.erase(at);
  }
  return next;
}

}  // namespace service
