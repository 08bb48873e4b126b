#include "platform/client/endpoint.h"

#include <cstdlib>

#include "evtsrv.h"
#include "platform/drivers/catalogue.h"
#include "platform/system/local_socket.h"
#include "platform/system/printable.h"

namespace client {
namespace {

constexpr std::string_view Embedded = "embedded:";
constexpr std::string_view Local = "ipc://";

}  // namespace

std::optional<std::string> endpointOfVariable() {
  const char* text = std::getenv("EVTSRV_ENDPOINT");
  return text == nullptr || *text == '\0' ? std::nullopt : std::optional<std::string>(text);
}

std::vector<std::string> endpointsWhenUnset() {
  std::vector<std::string> endpoints{std::string(Local) + sys::wellKnownSocket()};
  for (const drivers::Entry& entry : drivers::catalogue()) {
    if (entry.isSystem) endpoints.push_back(embeddedEndpoint(entry.name));
  }
  endpoints.push_back(embeddedEndpoint({}));
  return endpoints;
}

Endpoint parseEndpoint(std::string_view text, std::uint32_t behaviour) {
  if (text.starts_with("tcp://")) {
    if ((behaviour & EvtSrv::ConBehave_DisableOverNetwork) != 0) {
      return NoEndpoint{"network services are disabled in this program"};
    }
    return NoEndpoint{"network services are not supported"};
  }
  if (text.starts_with(Local)) {
    const std::string_view path = text.substr(Local.size());
    if (path.empty()) return NoEndpoint{"the path is missing (use ipc://PATH)"};
    return LocalEndpoint{std::string(path)};
  }
  if (!text.starts_with(Embedded)) return NoEndpoint{"not a valid endpoint (use ipc://PATH or embedded:FILE)"};
  return EmbeddedEndpoint{std::string(text.substr(Embedded.size()))};
}

std::string embeddedEndpoint(std::string_view device) { return std::string(Embedded).append(device); }

std::string endpointLine(std::string_view endpoint, std::string_view what) {
  return sys::printable(endpoint) + ": " + sys::printable(what);
}

}  // namespace client
