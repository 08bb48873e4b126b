#include "platform/client/endpoint.h"

#include "evtsrv.h"
#include "platform/host/local_socket.h"
#include "platform/wire/printable.h"

namespace client {
namespace {

constexpr std::string_view Embedded = "embedded:";
constexpr std::string_view Local = "ipc://";

}  // namespace

std::vector<std::string> endpointsWhenUnset() {
  return {std::string(Local) + host::wellKnownSocket(), std::string(Embedded)};
}

Endpoint parseEndpoint(std::string_view text, std::uint32_t behaviour) {
  if (text.starts_with("tcp://")) {
    if ((behaviour & EvtSrv::ConBehave_DisableOverNetwork) != 0) {
      return NoEndpoint{"refused: this program uses no service over the network"};
    }
    return NoEndpoint{"services over the network are not supported"};
  }
  if (text.starts_with(Local)) {
    const std::string_view path = text.substr(Local.size());
    if (path.empty()) return NoEndpoint{"no path (ipc://PATH)"};
    return LocalEndpoint{std::string(path)};
  }
  if (!text.starts_with(Embedded)) return NoEndpoint{"not an endpoint (ipc://PATH, tcp://HOST:PORT, embedded:FILE)"};
  const std::string_view device = text.substr(Embedded.size());
  if (device == "jack" || device == "alsa") return NoEndpoint{"devices of this system are not supported"};
  return EmbeddedEndpoint{std::string(device)};
}

std::string endpointLine(std::string_view endpoint, std::string_view what) {
  return "evtsrv: " + wire::printable(endpoint) + ": " + wire::printable(what);
}

}  // namespace client
