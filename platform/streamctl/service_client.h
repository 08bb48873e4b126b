// A service that answers.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "platform/client/connection.h"
#include "platform/client/control_channel.h"
#include "platform/wire/messages.h"

namespace streamctl {

// The endpoint to use: the given one, else that of EVTSRV_ENDPOINT, else the well-known local socket.
std::string endpointToUse(const std::optional<std::string>& given);

// A client of a service, with a control channel only. One thread.
class ServiceClient {
 public:
  // Attaches. Without a service that answers: the cause in one printable line. Blocks two seconds at most, and for
  // the disk.
  static std::variant<std::unique_ptr<ServiceClient>, std::string> open(const std::string& endpoint);

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

  client::Connection connection_;  // the last to go
  std::string endpoint_;
  std::optional<client::ControlChannel> channel_;
};

// That no port has this name, in words.
std::string noSuchPort(const std::string& port);

}  // namespace streamctl
