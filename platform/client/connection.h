// The way to a service.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <zmq.hpp>

#include "platform/client/endpoint.h"
#include "platform/host/embedded_service.h"

namespace client {

// A ZeroMQ address and the context in which it means something. Whatever is at the other end, the sockets are the
// same.
class Connection {
 public:
  // To whoever listens at a ZeroMQ address of the context.
  Connection(std::shared_ptr<zmq::context_t> context, std::string address)
      : context_(std::move(context)), address_(std::move(address)) {}

  // To a service of this process, which lives as long as the connection.
  explicit Connection(const std::shared_ptr<host::EmbeddedService>& service);

  // To the service of another process; does not connect yet. Throws zmq::error_t when the system gives no sockets.
  explicit Connection(const LocalEndpoint& endpoint);

  // Valid as long as the connection; sockets must be closed before it goes.
  zmq::context_t& context() const { return *context_; }
  const std::string& address() const { return address_; }

  // True for a service that may go and come back: one of another process.
  bool mayReturn() const { return !socketPath_.empty(); }

  // Why nobody can be reached there now, as an errno; 0 when somebody listens, and always in this process. Does not
  // wait. Somebody who listens need not answer.
  int whyUnreachable() const;

 private:
  std::shared_ptr<zmq::context_t> context_;
  std::string address_;
  std::string socketPath_;  // empty in this process
};

// Why there is no connection.
struct ConnectionProblem {
  std::string cause;
  bool nobodyThere = false;  // a local socket at which nobody listens, a system that is not there
};

// Finds or starts the service that endpoint names (see parseEndpoint). Services of this process are shared by all who
// name the same endpoint; the first starts it, the last one's leaving ends it. Any thread; blocks for the disk.
std::variant<Connection, ConnectionProblem> openConnection(const std::string& endpoint, std::uint32_t behaviour);

// From now on, and as long as service lives, endpoint names this service of this process.
void shareService(const std::string& endpoint, const std::shared_ptr<host::EmbeddedService>& service);

}  // namespace client
