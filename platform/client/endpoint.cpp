#include "platform/client/endpoint.h"

#include "evtsrv.h"
#include "platform/wire/printable.h"

namespace client {
namespace {

constexpr std::string_view Embedded = "embedded:";

}  // namespace

Endpoint parseEndpoint(std::string_view text, std::uint32_t behaviour) {
  if (text.empty()) return EmbeddedEndpoint{};
  if (text.starts_with("tcp://")) {
    if ((behaviour & EvtSrv::ConBehave_DisableOverNetwork) != 0) {
      return NoEndpoint{"refused: this program uses no service over the network"};
    }
    return NoEndpoint{"services over the network are not supported"};
  }
  if (text.starts_with("ipc://")) return NoEndpoint{"services in other processes are not supported"};
  if (!text.starts_with(Embedded)) return NoEndpoint{"not an endpoint (ipc://PATH, tcp://HOST:PORT, embedded:FILE)"};
  const std::string_view device = text.substr(Embedded.size());
  if (device == "jack" || device == "alsa") return NoEndpoint{"devices of this system are not supported"};
  return EmbeddedEndpoint{std::string(device)};
}

std::string problemLine(std::string_view endpoint, std::string_view cause) {
  return "evtsrv: " + wire::printable(endpoint.empty() ? Embedded : endpoint) + ": " + wire::printable(cause);
}

}  // namespace client
