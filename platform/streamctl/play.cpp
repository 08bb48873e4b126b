#include "platform/streamctl/play.h"

#include <algorithm>
#include <utility>
#include <variant>
#include <vector>

#include "platform/drivers/player.h"
#include "platform/midi/smf_file.h"
#include "platform/streamctl/playback.h"
#include "platform/streamctl/progress_line.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stop_signals.h"
#include "platform/wire/printable.h"

namespace streamctl {
namespace {

// Where each message of a score stands in it.
std::vector<service::Time> timesOf(const service::Score& score) {
  std::vector<service::Time> times;
  times.reserve(score.events.size());
  for (const service::ScoreEvent& event : score.events) times.push_back(event.time);
  return times;
}

bool travels(const service::ScoreEvent& event) { return event.bytes.size() <= wire::MaxMessageBytes; }

Outcome play(service::Score score, const PlayCommand& command, const ServicePlace& place, const StopSignals& signals) {
  const auto service = ServiceClient::open(place);
  if (!service) return Failure{};
  const std::vector<service::Time> times = timesOf(score);
  const service::Time length = score.length;
  const auto player = service::makePlayer(service::ScorePlayback{std::move(score), command.loop, command.speed});
  ProgressLine line;
  const auto show = [&](std::uint64_t messages) {
    // Without messages there may be no times either.
    line.show(messages == 0 ? service::Time{} : times[static_cast<std::size_t>((messages - 1) % times.size())], length);
  };
  if (const auto cause = playInto(*service, command.port, *player, times.size(), signals, show)) return Failure{*cause};
  return std::nullopt;
}

}  // namespace

Outcome run(const PlayCommand& command, const ServicePlace& place) {
  auto loaded = service::loadSmf(command.file);
  const std::string file = wire::printable(command.file) + ": ";
  if (const auto* cause = std::get_if<std::string>(&loaded)) return Failure{file + wire::printable(*cause)};
  auto& score = std::get<service::Score>(loaded);
  if (!std::ranges::all_of(score.events, travels)) {
    return Failure{file + "a message is longer than " + std::to_string(wire::MaxMessageBytes) + " bytes"};
  }
  StopSignals signals(StopSignals::Ending);
  Outcome outcome = play(std::move(score), command, place, signals);
  if (!outcome) signals.passOn();
  return outcome;
}

}  // namespace streamctl
