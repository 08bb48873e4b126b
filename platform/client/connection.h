// The way to a service.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <zmq.hpp>

#include "platform/host/embedded_service.h"

namespace client {

// A ZeroMQ address and the context in which it means something. Whatever is at the other end, the sockets are the
// same.
class Connection {
 public:
  Connection(std::shared_ptr<zmq::context_t> context, std::string address)
      : context_(std::move(context)), address_(std::move(address)) {}

  // To a service of this process, which lives as long as the connection.
  explicit Connection(const std::shared_ptr<host::EmbeddedService>& service)
      : context_(service, &service->context()), address_(service->address()) {}

  // Valid as long as the connection; sockets must be closed before it goes.
  zmq::context_t& context() const { return *context_; }
  const std::string& address() const { return address_; }

 private:
  std::shared_ptr<zmq::context_t> context_;
  std::string address_;
};

// Finds or starts the service that endpoint names (see parseEndpoint). Services of this process are shared by all who
// name the same endpoint; the first starts it, the last one's leaving ends it. Without one: the line that says why
// (see problemLine). Any thread; blocks for the disk.
std::variant<Connection, std::string> openConnection(const std::string& endpoint, std::uint32_t behaviour);

// From now on, and as long as service lives, endpoint names this service of this process.
void shareService(const std::string& endpoint, const std::shared_ptr<host::EmbeddedService>& service);

}  // namespace client
