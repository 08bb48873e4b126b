#include "platform/drivers/jack/bursts.h"

#include <algorithm>
#include <utility>

namespace service::jack {
namespace {

using namespace std::chrono_literals;

constexpr Time Length = 1s;

// One, and several.
constexpr std::array<std::array<const char*, 2>, 5> Texts{{
    {" message not sent: a group id above 15 is no MIDI channel",
     " messages not sent: a group id above 15 is no MIDI channel"},
    {" message not sent: not one complete MIDI message", " messages not sent: not one complete MIDI message"},
    {" message not sent: too much waits to go out", " messages not sent: too much waits to go out"},
    {" message not sent: the port has gone", " messages not sent: the port has gone"},
    {" period skipped, too late: messages in it may be lost",
     " periods skipped, too late: messages in them may be lost"},
}};

}  // namespace

void Bursts::add(Burst kind, std::uint64_t count, Time now) {
  Counted& burst = bursts_.at(static_cast<std::size_t>(kind));
  if (burst.count == 0) burst.begun = now;
  burst.count += count;
}

std::vector<std::string> Bursts::take(Time now) {
  std::vector<std::string> lines;
  for (std::size_t kind = 0; kind < Kinds; ++kind) {
    Counted& burst = bursts_.at(kind);
    if (burst.count == 0 || now < burst.begun + Length) continue;
    lines.push_back(std::to_string(burst.count) + Texts.at(kind).at(burst.count == 1 ? 0 : 1));
    burst.count = 0;
  }
  return lines;
}

std::optional<Time> Bursts::next() const {
  std::optional<Time> first;
  for (const Counted& burst : bursts_) {
    if (burst.count > 0) first = std::min(first.value_or(burst.begun + Length), burst.begun + Length);
  }
  return first;
}

}  // namespace service::jack
