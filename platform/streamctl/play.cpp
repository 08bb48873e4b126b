#include "platform/streamctl/play.h"

#include <algorithm>
#include <utility>
#include <variant>
#include <vector>

#include "platform/midi/player.h"
#include "platform/midi/smf_file.h"
#include "platform/streamctl/playback.h"
#include "platform/streamctl/progress_line.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stop_signals.h"
#include "platform/system/printable.h"

namespace streamctl {
namespace {

// The time of each message of a score.
std::vector<device::Time> timesOf(const midi::Score& score) {
  std::vector<device::Time> times;
  times.reserve(score.events.size());
  for (const midi::ScoreEvent& event : score.events) times.push_back(event.time);
  return times;
}

bool travels(const midi::ScoreEvent& event) { return event.bytes.size() <= device::MaxMessageBytes; }

Outcome play(midi::Score score, const PlayCommand& command, const ServicePlace& place, const StopSignals& signals) {
  const auto service = ServiceClient::open(place);
  if (!service) return Failure{};
  const std::vector<device::Time> times = timesOf(score);
  const device::Time length = score.length;
  const auto player = midi::makePlayer(midi::ScorePlayback{std::move(score), command.loop, command.speed});
  ProgressLine line;
  const auto show = [&](std::uint64_t messages) {
    // Without messages, times may be empty.
    line.show(messages == 0 ? device::Time{} : times[static_cast<std::size_t>((messages - 1) % times.size())], length);
  };
  if (const auto cause = playInto(*service, command.port, *player, times.size(), signals, show)) return Failure{*cause};
  return std::nullopt;
}

}  // namespace

Outcome run(const PlayCommand& command, const ServicePlace& place) {
  auto loaded = midi::loadSmf(command.file);
  const std::string file = sys::printable(command.file) + ": ";
  if (const auto* cause = std::get_if<std::string>(&loaded)) return Failure{file + sys::printable(*cause)};
  auto& score = std::get<midi::Score>(loaded);
  if (!std::ranges::all_of(score.events, travels)) {
    return Failure{file + "a message is longer than " + std::to_string(device::MaxMessageBytes) + " bytes"};
  }
  StopSignals signals(StopSignals::Ending);
  Outcome outcome = play(std::move(score), command, place, signals);
  if (!outcome) signals.passOn();
  return outcome;
}

}  // namespace streamctl
