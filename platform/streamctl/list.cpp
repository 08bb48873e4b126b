#include "platform/streamctl/list.h"

#include "platform/streamctl/output.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/topology_report.h"
#include "platform/system/text_encoding.h"

namespace streamctl {

Outcome run(const ListCommand& command, const ServicePlace& place) {
  const auto service = ServiceClient::open(place);
  if (!service) return Failure{};
  const auto topology = service->topology();
  const auto links = topology ? service->ask<wire::Links, wire::AskLinks>() : std::nullopt;
  const auto originals = links ? service->ask<wire::Originals, wire::AskOriginals>() : std::nullopt;
  if (!originals) return Failure{service->whyNot()};
  service->leave();
  const int error = writeOutput(command.json ? topologyJson(*topology, *links, *originals)
                                             : topologyText(*topology, *links, *originals, sys::environmentEncoding()));
  return error == 0 ? Outcome() : Failure{outputProblem(error)};
}

}  // namespace streamctl
