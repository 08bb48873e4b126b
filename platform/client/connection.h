// How to reach a service.
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

// A ZeroMQ address and the context in which it is valid. The sockets are the same for every kind of service.
class Connection {
 public:
  // For a service at a ZeroMQ address of the context.
  Connection(std::shared_ptr<zmq::context_t> context, std::string address)
      : context_(std::move(context)), address_(std::move(address)) {}

  // For a service of this process. The connection keeps it alive.
  explicit Connection(const std::shared_ptr<host::EmbeddedService>& service);

  // For the service of another process; does not connect yet. Throws zmq::error_t if the system gives no sockets.
  explicit Connection(const LocalEndpoint& endpoint);

  // Valid as long as the connection. Close all sockets before the connection is destroyed.
  zmq::context_t& context() const { return *context_; }
  const std::string& address() const { return address_; }

  // True if the service may end and come back: one in another process.
  bool mayReturn() const { return !socketPath_.empty(); }

  // Returns why the service cannot be reached now, as an errno; 0 if something listens there, and always 0 within this
  // process. Does not block. A listener need not answer.
  int whyUnreachable() const;

 private:
  std::shared_ptr<zmq::context_t> context_;
  std::string address_;
  std::string socketPath_;  // empty in this process
};

// Why a connection failed.
struct ConnectionProblem {
  std::string cause;
  bool nobodyThere = false;  // nothing listens at the local socket, or the system does not run
};

// Finds or starts the service that endpoint names (see parseEndpoint). Connections of this process to the same embedded
// endpoint share one service: the first connection starts it, and it ends with the last one. Thread-safe. Blocks for
// disk access.
std::variant<Connection, ConnectionProblem> openConnection(const std::string& endpoint, std::uint32_t behaviour);

// Makes endpoint name this service of this process, as long as the service lives.
void shareService(const std::string& endpoint, const std::shared_ptr<host::EmbeddedService>& service);

}  // namespace client
