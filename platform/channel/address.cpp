#include "platform/channel/address.h"

#include <array>
#include <cstdlib>
#include <utility>

#include "platform/system/printable.h"

namespace channel {
namespace {

struct Scheme {
  Transport transport;
  std::string_view prefix;
  std::string_view noPlace;  // the cause if nothing follows; empty: nothing need follow
};

constexpr std::array Schemes{
    Scheme{Transport::Embedded, "embedded:", ""},
    Scheme{Transport::Local, "ipc://", "the path is missing (use ipc://PATH)"},
    Scheme{Transport::Network, "tcp://", ""},
};

}  // namespace

std::string Address::text() const {
  for (const Scheme& scheme : Schemes) {
    if (scheme.transport == transport) return std::string(scheme.prefix) + place;
  }
  return place;
}

std::variant<Address, std::string> parseAddress(std::string_view text) {
  for (const Scheme& scheme : Schemes) {
    if (!text.starts_with(scheme.prefix)) continue;
    const std::string_view place = text.substr(scheme.prefix.size());
    if (place.empty() && !scheme.noPlace.empty()) return std::string(scheme.noPlace);
    return Address{scheme.transport, std::string(place)};
  }
  return "not a valid endpoint (use ipc://PATH or embedded:FILE)";
}

std::optional<std::string> addressOfVariable() {
  const char* text = std::getenv("EVTSRV_ENDPOINT");
  return text == nullptr || *text == '\0' ? std::nullopt : std::optional<std::string>(text);
}

std::string addressLine(std::string_view address, std::string_view what) {
  return sys::printable(address) + ": " + sys::printable(what);
}

}  // namespace channel
