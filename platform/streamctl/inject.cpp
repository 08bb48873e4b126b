#include "platform/streamctl/inject.h"

#include "platform/streamctl/playback.h"
#include "platform/streamctl/repeating_player.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stop_signals.h"

namespace streamctl {

Outcome run(const InjectCommand& command, const ServicePlace& place) {
  StopSignals signals;
  {
    const auto service = ServiceClient::open(place);
    if (!service) return Failure{};
    const auto player = makeRepeatingPlayer({command.group, command.message, command.count, command.perSecond});
    if (const auto cause = playInto(*service, command.port, *player, 0, signals, [](std::uint64_t) {})) {
      return Failure{*cause};
    }
  }
  signals.passOn();
  return std::nullopt;
}

}  // namespace streamctl
