#include "platform/streamctl/service_client.h"

#include <exception>
#include <utility>

#include "evtsrv.h"
#include "platform/client/deadline.h"
#include "platform/client/endpoint.h"
#include "platform/client/service_search.h"
#include "platform/system/printable.h"

namespace streamctl {
std::unique_ptr<ServiceClient> ServiceClient::open(const ServicePlace& place) {
  std::unique_ptr<ServiceClient> taken;
  const auto take = [&taken](client::Connection connection, const std::string& endpoint) -> std::optional<std::string> {
    try {
      std::unique_ptr<ServiceClient> opened(new ServiceClient(std::move(connection), endpoint));
      const client::Connection& to = opened->connection_;
      opened->channel_.emplace(to.context(), to.address());
      if (!opened->channel_->greet("streamctl", client::Deadline(client::AnswerTime))) return opened->whyNoAnswer();
      taken = std::move(opened);
      return std::nullopt;
    } catch (const std::exception& failure) {
      return failure.what();
    }
  };
  const auto report = [&place](const std::string& endpoint, const client::ConnectionProblem& problem) {
    sayProblem(place, endpoint, problem);
  };
  if (client::findService(place.endpoints, EvtSrv::ConBehave_Void, take, report)) sayTaken(place, taken->endpoint_);
  return taken;
}

std::string ServiceClient::whyNoAnswer() {
  if (channel_->lost()) return "connection to the service lost";
  return channel_->refusal() ? "the service refused a message" : "the service does not answer";
}

std::string ServiceClient::whyNot(const std::string& port) {
  if (channel_->refusal() == device::Status::NotFound) return noSuchPort(port);
  return client::endpointLine(endpoint_, whyNoAnswer());
}

void ServiceClient::leave() { channel_->ask<wire::Result>(wire::Goodbye{channel_->session()}); }

std::string noSuchPort(const std::string& port) { return "no such port: " + sys::printable(port); }

}  // namespace streamctl
