#include "platform/streamctl/stats.h"

#include "platform/streamctl/output.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stats_report.h"

namespace streamctl {

Outcome run(const StatsCommand& command, const ServicePlace& place) {
  const auto service = ServiceClient::open(placeOfStreamd(place));
  if (!service) return Failure{};
  const auto stats = service->ask<wire::Stats, wire::AskStats>();
  if (!stats) return Failure{service->whyNot()};
  service->leave();
  const int error = writeOutput(command.json ? statsJson(*stats) : statsText(*stats));
  return error == 0 ? Outcome() : Failure{outputProblem(error)};
}

}  // namespace streamctl
