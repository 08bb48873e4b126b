#include "platform/streamctl/service_place.h"

#include <utility>
#include <variant>

#include "evtsrv.h"
#include "platform/client/endpoint.h"
#include "platform/system/printable.h"
#include "platform/system/program_line.h"

namespace streamctl {
namespace {

// Names no endpoint that this build refuses.
#ifdef FLOWSCOPE_HAVE_JACK
constexpr std::string_view Advice = "start streamd, or give --endpoint embedded:jack while a JACK server runs";
#else
constexpr std::string_view Advice = "start streamd";
#endif

}  // namespace

ServicePlace placeToLook(const std::optional<std::string>& given) {
  const std::string advice(Advice);
  if (given) return {{*given}, false, advice};
  if (auto endpoint = client::endpointOfVariable()) return {{std::move(*endpoint)}, false, advice};
  return {client::endpointsWhenUnset(), true, advice};
}

ServicePlace placeOfStreamd(ServicePlace place) {
  // The well-known local socket is the first of the default endpoints.
  place.endpoints.resize(1);
  place.isDefault = false;
  place.advice = "start streamd";
  return place;
}

void sayProblem(const ServicePlace& place, const std::string& endpoint, const client::ConnectionProblem& problem) {
  const auto parsed = client::parseEndpoint(endpoint, EvtSrv::ConBehave_Void);
  const bool noStreamd = problem.nobodyThere && std::holds_alternative<client::LocalEndpoint>(parsed);
  const std::string line = client::endpointLine(endpoint, problem.cause);
  sys::sayLine(noStreamd ? line + "; " + place.advice : line);
}

void sayTaken(const ServicePlace& place, const std::string& endpoint) {
  if (!place.isDefault) return;
  const bool isBuiltin = endpoint == client::embeddedEndpoint({});
  const std::string why = isBuiltin ? ", a built-in device that nobody else sees; " + place.advice : "";
  sys::sayLine("using " + sys::printable(endpoint) + why);
}

}  // namespace streamctl
