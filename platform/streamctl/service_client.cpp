#include "platform/streamctl/service_client.h"

#include <cstdlib>
#include <exception>
#include <utility>

#include "evtsrv.h"
#include "platform/client/deadline.h"
#include "platform/client/endpoint.h"
#include "platform/wire/printable.h"

namespace streamctl {
namespace {

std::string located(const std::string& endpoint, const std::string& cause) {
  return wire::printable(endpoint) + ": " + wire::printable(cause);
}

}  // namespace

std::string endpointToUse(const std::optional<std::string>& given) {
  if (given) return *given;
  const char* text = std::getenv("EVTSRV_ENDPOINT");
  if (text != nullptr && *text != '\0') return text;
  return client::endpointsWhenUnset().front();
}

std::variant<std::unique_ptr<ServiceClient>, std::string> ServiceClient::open(const std::string& endpoint) {
  auto connection = client::openConnection(endpoint, EvtSrv::ConBehave_Void);
  if (const auto* problem = std::get_if<client::ConnectionProblem>(&connection)) {
    return located(endpoint, problem->cause);
  }
  try {
    std::unique_ptr<ServiceClient> opened(
        new ServiceClient(std::get<client::Connection>(std::move(connection)), endpoint));
    const client::Connection& to = opened->connection_;
    opened->channel_.emplace(to.context(), to.address());
    if (opened->channel_->greet("streamctl", client::Deadline(client::AnswerTime))) return opened;
    return opened->whyNot();
  } catch (const std::exception& failure) {
    return located(endpoint, failure.what());
  }
}

std::string ServiceClient::whyNot(const std::string& port) {
  const auto refusal = channel_->refusal();
  if (refusal == wire::Status::NotFound) return noSuchPort(port);
  if (channel_->lost()) return located(endpoint_, "the service has gone");
  return located(endpoint_, refusal ? "the service has refused a message" : "the service does not answer");
}

void ServiceClient::leave() { channel_->ask<wire::Result>(wire::Goodbye{channel_->session()}); }

std::string noSuchPort(const std::string& port) { return "no such port: " + wire::printable(port); }

}  // namespace streamctl
