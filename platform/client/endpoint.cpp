#include "platform/client/endpoint.h"

#include "evtsrv.h"

namespace client {

Endpoint parseEndpoint(std::string_view text, std::uint32_t behaviour) {
  constexpr std::string_view Embedded = "embedded:";
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

}  // namespace client
