#include "platform/streamctl/stats.h"

#include "platform/streamctl/output.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stats_report.h"

namespace streamctl {

Outcome run(const StatsCommand& command, const std::string& endpoint) {
  const auto opened = ServiceClient::open(endpoint);
  if (const auto* cause = std::get_if<std::string>(&opened)) return Failure{*cause};
  ServiceClient& service = *std::get<std::unique_ptr<ServiceClient>>(opened);
  const auto stats = service.ask<wire::Stats, wire::AskStats>();
  if (!stats) return Failure{service.whyNot()};
  service.leave();
  const int error = writeOutput(command.json ? statsJson(*stats) : statsText(*stats));
  return error == 0 ? Outcome() : Failure{outputProblem(error)};
}

}  // namespace streamctl
