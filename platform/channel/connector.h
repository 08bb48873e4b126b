// How to reach a service.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <zmq.hpp>

#include "platform/channel/connection.h"

namespace channel {

// Makes connections to one service.
class Connector {
 public:
  // For a service at a ZeroMQ address of the context.
  Connector(std::shared_ptr<zmq::context_t> context, std::string address)
      : context_(std::move(context)), address_(std::move(address)) {}

  // For the service of another process that listens at the local socket with this path; does not connect yet. Throws
  // zmq::error_t if the system gives no sockets.
  static Connector toLocalSocket(const std::string& path);

  // Throws zmq::error_t if the system gives no socket. Destroy all connections before the connector.
  Connection connect() const { return {*context_, address_}; }

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

// Why there is no service.
struct ConnectProblem {
  std::string cause;
  bool nobodyThere = false;  // nothing listens at the local socket, or the system does not run
};

// A connector, or why there is none.
using ConnectorOrProblem = std::variant<Connector, ConnectProblem>;

// The connector to the local socket with this path if something listens there. Does not block.
ConnectorOrProblem reachLocalSocket(const std::string& path);

}  // namespace channel
