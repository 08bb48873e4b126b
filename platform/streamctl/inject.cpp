#include "platform/streamctl/inject.h"

#include "platform/streamctl/playback.h"
#include "platform/streamctl/repeating_player.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stop_signals.h"

namespace streamctl {

Outcome run(const InjectCommand& command, const std::string& endpoint) {
  StopSignals signals;
  {
    const auto opened = ServiceClient::open(endpoint);
    if (const auto* cause = std::get_if<std::string>(&opened)) return Failure{*cause};
    ServiceClient& service = *std::get<std::unique_ptr<ServiceClient>>(opened);
    const auto player = makeRepeatingPlayer({command.group, command.message, command.count, command.perSecond});
    if (const auto cause = playInto(service, command.port, *player, signals, [](std::uint64_t) {})) {
      return Failure{*cause};
    }
  }
  signals.passOn();
  return std::nullopt;
}

}  // namespace streamctl
