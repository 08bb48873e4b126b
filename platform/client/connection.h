// The way to a service.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <zmq.hpp>

#include "platform/host/embedded_service.h"

namespace client {

// A ZeroMQ address and the context in which it means something. Whatever is at the other end, the sockets are the
// same. Keeps a service of this process alive.
class Connection {
 public:
  explicit Connection(std::shared_ptr<host::EmbeddedService> service) : service_(std::move(service)) {}

  // Valid as long as the connection; sockets must be closed before it goes.
  zmq::context_t& context() const { return service_->context(); }
  const std::string& address() const { return service_->address(); }

 private:
  std::shared_ptr<host::EmbeddedService> service_;
};

// Finds or starts the service that endpoint names (see parseEndpoint). Services of this process are shared by all who
// name the same endpoint; the first starts it, the last one's leaving ends it. Without one: the line that says why,
// without its line end. Any thread; blocks for the disk.
std::variant<Connection, std::string> openConnection(const std::string& endpoint, std::uint32_t behaviour);

// From now on, and as long as service lives, endpoint names this service of this process.
void shareService(const std::string& endpoint, const std::shared_ptr<host::EmbeddedService>& service);

}  // namespace client
