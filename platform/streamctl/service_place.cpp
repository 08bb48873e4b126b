#include "platform/streamctl/service_place.h"

#include <utility>
#include <variant>

#include "platform/channel/address.h"
#include "platform/reach/service_search.h"
#include "platform/system/printable.h"
#include "platform/system/program_line.h"

namespace streamctl {
namespace {

// Names no endpoint that this build refuses.
#ifdef FLOWSCOPE_HAVE_JACK
constexpr const char* AnyService = "start streamd, or give --endpoint embedded:jack while a JACK server runs";
#else
constexpr const char* AnyService = "start streamd";
#endif

const std::string Start = "start streamd";

// Somebody has said where: only a streamd that listens there helps.
ServicePlace placeGiven(std::string endpoint) {
  const bool isDefault = endpoint == reach::defaultAddresses().front();
  std::string advice = isDefault ? Start : Start + " --listen " + sys::printable(endpoint);
  return {{std::move(endpoint)}, false, std::move(advice)};
}

}  // namespace

ServicePlace placeToLook(const std::optional<std::string>& given) {
  if (given) return placeGiven(*given);
  if (auto endpoint = channel::addressOfVariable()) return placeGiven(std::move(*endpoint));
  return {reach::defaultAddresses(), true, AnyService};
}

ServicePlace placeOfStreamd(ServicePlace place) {
  if (!place.isDefault) return place;
  // The well-known local socket is the first of the default endpoints.
  return {{std::move(place.endpoints.front())}, false, Start};
}

void sayProblem(const ServicePlace& place, const std::string& endpoint, const channel::ConnectProblem& problem) {
  const auto parsed = channel::parseAddress(endpoint);
  const auto* address = std::get_if<channel::Address>(&parsed);
  const bool isLocal = address != nullptr && address->transport == channel::Transport::Local;
  const bool noStreamd = problem.nobodyThere && isLocal;
  const std::string line = channel::addressLine(endpoint, problem.cause);
  sys::sayLine(noStreamd ? line + "; " + place.advice : line);
}

void sayTaken(const ServicePlace& place, const std::string& endpoint) {
  if (!place.isDefault) return;
  const bool isBuiltin = endpoint == channel::Address{}.text();
  const std::string why = isBuiltin ? ", a built-in device that only this process sees; " + place.advice : "";
  sys::sayLine("using " + sys::printable(endpoint) + why);
}

}  // namespace streamctl
