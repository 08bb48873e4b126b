// How to reach a service.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <variant>

#include "platform/channel/connection.h"
#include "platform/channel/deadline.h"
#include "platform/system/unique_descriptor.h"

namespace channel {

// Makes connections to one service.
class Connector {
 public:
  // Returns a socket that is connected to the service and does not block; empty if it takes no connection. Thread-safe.
  using Open = std::function<sys::UniqueDescriptor()>;

  // For a service of this process.
  explicit Connector(Open open) : open_(std::move(open)) {}

  // For the service of another process that listens at the local socket with this path; does not connect yet.
  static Connector toLocalSocket(std::string path);

  // Blocks until the deadline at most: many clients may want to connect at the same time. The connection is closed if
  // the service takes none. Throws an exception derived from std::exception if the system gives no socket, and
  // UntrustedServer if the service runs as a user who is not trusted at its path.
  Connection connect(const Deadline& deadline = Deadline(AnswerTime)) const;

  // True if the service may end and come back: one in another process.
  bool mayReturn() const { return !socketPath_.empty(); }

  // Returns why the service cannot be reached now, as an errno; 0 if something listens there, and always 0 within this
  // process. Does not block. A listener need not answer.
  int whyUnreachable() const;

 private:
  Connector() = default;

  Open open_;
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
