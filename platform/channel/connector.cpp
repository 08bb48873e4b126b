#include "platform/channel/connector.h"

#include <cerrno>
#include <cstring>
#include <exception>

#include "platform/system/local_socket.h"

namespace channel {

Connector Connector::toLocalSocket(const std::string& path) {
  Connector connector(std::make_shared<zmq::context_t>(), "ipc://" + path);
  connector.socketPath_ = path;
  return connector;
}

int Connector::whyUnreachable() const { return mayReturn() ? sys::whyNobodyListens(socketPath_) : 0; }

ConnectorOrProblem reachLocalSocket(const std::string& path) {
  try {
    Connector connector = Connector::toLocalSocket(path);
    const int cause = connector.whyUnreachable();
    if (cause == 0) return connector;
    const bool nobodyThere = cause == ENOENT || cause == ECONNREFUSED || cause == ENOTDIR;
    return ConnectProblem{std::strerror(cause), nobodyThere};
  } catch (const std::exception& failure) {
    return ConnectProblem{failure.what()};
  }
}

}  // namespace channel
