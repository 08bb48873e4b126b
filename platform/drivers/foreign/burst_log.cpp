#include "platform/drivers/foreign/burst_log.h"

#include <algorithm>
#include <utility>

#include "platform/system/earliest.h"

namespace drivers {

void BurstLog::add(std::uint64_t count, std::string_view noun, std::string_view what, device::Time now,
                   device::Time apart) {
  Burst& burst = bursts_[{std::string(noun), std::string(what)}];
  if (burst.count == 0) burst.due = std::max<device::Time>(burst.due, now + std::chrono::seconds(1));
  burst.count += count;
  burst.apart = apart;
}

void BurstLog::addUnsent(std::uint64_t messages, std::string_view port, std::string_view why, device::Time now) {
  add(messages, "message", std::string("for \"").append(port).append("\" not sent: ").append(why), now);
}

std::optional<device::Time> BurstLog::advance(device::Time now, const Take& take) {
  std::optional<device::Time> next;
  for (auto at = bursts_.begin(); at != bursts_.end();) {
    auto& [text, burst] = *at;
    if (burst.due <= now && burst.count == 0) {
      at = bursts_.erase(at);
      continue;
    }
    if (burst.due <= now) {
      say(text, std::exchange(burst.count, 0), take);
      burst.due = now + burst.apart;
    } else if (burst.count > 0) {
      sys::keepEarlier(next, burst.due);
    }
    ++at;
  }
  return next;
}

void BurstLog::finish(const Take& take) {
  for (const auto& [text, burst] : std::exchange(bursts_, {})) {
    if (burst.count > 0) say(text, burst.count, take);
  }
}

void BurstLog::say(const std::pair<std::string, std::string>& text, std::uint64_t count, const Take& take) {
  take(std::to_string(count) + " " + text.first + (count == 1 ? " " : "s ") + text.second);
}

}  // namespace drivers
