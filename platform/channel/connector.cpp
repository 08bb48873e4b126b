#include "platform/channel/connector.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>

#include "platform/channel/server_trust.h"
#include "platform/system/local_socket.h"

namespace channel {

Connector Connector::toLocalSocket(std::string path) {
  Connector connector;
  connector.socketPath_ = std::move(path);
  return connector;
}

Connection Connector::connect(const Deadline& deadline) const {
  if (!mayReturn()) return Connection(open_());
  auto socket = sys::connectLocalSocket(socketPath_, std::max(deadline.left(), std::chrono::milliseconds(1)));
  const bool noneLeft = !socket && (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM);
  if (noneLeft) throw std::system_error(errno, std::generic_category());
  if (socket) requireTrustedServer(socket.get(), socketPath_);
  return Connection(std::move(socket));
}

int Connector::whyUnreachable() const { return mayReturn() ? sys::whyNobodyListens(socketPath_) : 0; }

ConnectorOrProblem reachLocalSocket(const std::string& path) {
  const int cause = sys::whyNobodyListens(path);
  if (cause == 0) return Connector::toLocalSocket(path);
  const bool nobodyThere = cause == ENOENT || cause == ECONNREFUSED || cause == ENOTDIR;
  return ConnectProblem{std::strerror(cause), nobodyThere};
}

}  // namespace channel
