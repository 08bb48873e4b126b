// A connection to a service that answers.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "platform/streamctl/service_place.h"
#include "platform/wire/messages.h"

namespace streamctl {

// A client of a service with only a control channel. Not thread-safe.
class ServiceClient {
 public:
  // Attaches to the first service of the place that answers. Returns null if none does. Prints to standard error why a
  // service is not used and, if the user has not said where to look, which one is. Blocks for at most two seconds for
  // each service, and for disk access.
  static std::unique_ptr<ServiceClient> open(const ServicePlace& place);

  channel::ControlChannel& channel() { return *channel_; }

  // Blocks for at most two seconds. Returns nullopt if there is no answer; whyNot says why.
  template <class Answer, class Request>
  std::optional<Answer> ask() {
    return channel_->ask<Answer>(Request{channel_->session()});
  }

  // Like ask. Returns nullopt also for a topology that is not to be believed.
  std::optional<wire::Topology> topology();

  // Why the service has just done nothing, as one printable line. port: the name of the port, if the request was about
  // one.
  std::string whyNot(const std::string& port = {});

  // Sends Goodbye, so the service does not have to detect the end. Call it last. Blocks for at most two seconds.
  void leave();

 private:
  ServiceClient(channel::Connector connector, std::string endpoint)
      : connector_(std::move(connector)), endpoint_(std::move(endpoint)) {}

  std::string whyNotGreeted();
  std::string whyNoAnswer();

  channel::Connector connector_;  // destroyed last
  std::string endpoint_;
  std::optional<channel::ControlChannel> channel_;
  std::optional<std::string> refusedTopology_;  // the cause
};

// The message that no port has this name.
std::string noSuchPort(const std::string& port);

}  // namespace streamctl
