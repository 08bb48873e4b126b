// A service that answers.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/client/connection.h"
#include "platform/client/control_channel.h"
#include "platform/streamctl/service_place.h"
#include "platform/wire/messages.h"

namespace streamctl {

// A client of a service, with a control channel only. One thread.
class ServiceClient {
 public:
  // Attaches to the first service of the place that answers. Null when none does. Says on standard error why one is not
  // taken and, when nobody has said where to look, which one is. Blocks two seconds at most for each, and for the disk.
  static std::unique_ptr<ServiceClient> open(const ServicePlace& place);

  client::ControlChannel& channel() { return *channel_; }

  // Blocks two seconds at most; without an answer nothing, and whyNot says why.
  template <class Answer, class Request>
  std::optional<Answer> ask() {
    return channel_->ask<Answer>(Request{channel_->session()});
  }

  // Why the service has just done nothing, in one printable line: for the port called port, if it was about one.
  std::string whyNot(const std::string& port = {});

  // Takes leave, when everything has been said: so the service does not have to notice. Blocks two seconds at most.
  void leave();

 private:
  ServiceClient(client::Connection connection, std::string endpoint)
      : connection_(std::move(connection)), endpoint_(std::move(endpoint)) {}

  std::string whyNoAnswer();

  client::Connection connection_;  // the last to go
  std::string endpoint_;
  std::optional<client::ControlChannel> channel_;
};

// That no port has this name, in words.
std::string noSuchPort(const std::string& port);

}  // namespace streamctl
