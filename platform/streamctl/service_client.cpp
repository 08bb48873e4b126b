#include "platform/streamctl/service_client.h"

#include <exception>
#include <utility>

#include "platform/channel/address.h"
#include "platform/channel/deadline.h"
#include "platform/reach/service_search.h"
#include "platform/system/printable.h"
#include "platform/wire/topology_check.h"

namespace streamctl {
std::unique_ptr<ServiceClient> ServiceClient::open(const ServicePlace& place) {
  std::unique_ptr<ServiceClient> taken;
  const auto take = [&taken](channel::Connector connector, const std::string& endpoint) -> std::optional<std::string> {
    try {
      std::unique_ptr<ServiceClient> opened(new ServiceClient(std::move(connector), endpoint));
      const channel::Deadline deadline(channel::AnswerTime);
      opened->channel_.emplace(opened->connector_, deadline);
      if (!opened->channel_->greet(deadline)) return opened->whyNotGreeted();
      taken = std::move(opened);
      return std::nullopt;
    } catch (const std::exception& failure) {
      return failure.what();
    }
  };
  const auto report = [&place](const std::string& endpoint, const channel::ConnectProblem& problem) {
    sayProblem(place, endpoint, problem);
  };
  if (reach::findService(place.endpoints, reach::Network::Allowed, take, report)) sayTaken(place, taken->endpoint_);
  return taken;
}

std::optional<wire::Topology> ServiceClient::topology() {
  auto answer = ask<wire::Topology, wire::AskTopology>();
  if (answer) refusedTopology_ = wire::whyRefused(*answer);
  return refusedTopology_ ? std::nullopt : std::move(answer);
}

std::string ServiceClient::whyNotGreeted() { return channel_->lost() ? whyNoAnswer() : channel_->whyNotGreeted(); }

std::string ServiceClient::whyNoAnswer() {
  if (const auto fault = channel_->fault()) return *fault;
  if (refusedTopology_) return *refusedTopology_;
  if (channel_->lost()) return "connection to the service lost";
  return channel_->refusal() ? "the service refused a message" : "the service does not answer";
}

std::string ServiceClient::whyNot(const std::string& port) {
  if (channel_->refusal() == device::Status::NotFound) return noSuchPort(port);
  return channel::addressLine(endpoint_, whyNoAnswer());
}

void ServiceClient::leave() { channel_->ask<wire::Result>(wire::Goodbye{channel_->session()}); }

std::string noSuchPort(const std::string& port) { return "no such port: " + sys::printable(port); }

}  // namespace streamctl
