// Endpoints: the text that says where a service is.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace client {

// A service in this process, on a device (see drivers::openDevice).
struct EmbeddedEndpoint {
  std::string device;
  friend bool operator==(const EmbeddedEndpoint&, const EmbeddedEndpoint&) = default;
};

// A service of another process that listens at this path.
struct LocalEndpoint {
  std::string path;
  friend bool operator==(const LocalEndpoint&, const LocalEndpoint&) = default;
};

// The endpoint is not usable, and why.
struct NoEndpoint {
  std::string cause;
  friend bool operator==(const NoEndpoint&, const NoEndpoint&) = default;
};

using Endpoint = std::variant<EmbeddedEndpoint, LocalEndpoint, NoEndpoint>;

// The endpoint of EVTSRV_ENDPOINT; nullopt if it is unset or empty.
std::optional<std::string> endpointOfVariable();

// The endpoints to try in turn when EVTSRV_ENDPOINT is unset: the well-known local socket, the ALSA sequencer, a JACK
// server, then the built-in device.
std::vector<std::string> endpointsWhenUnset();

// text: an endpoint as in EVTSRV_ENDPOINT, not empty. behaviour: EvtSrv::ConBehave bits.
Endpoint parseEndpoint(std::string_view text, std::uint32_t behaviour);

// The endpoint of a service in this process on this device.
std::string embeddedEndpoint(std::string_view device);

// A message about an endpoint (see sys::sayLine): one printable line without its line end, with the endpoint and what
// happened.
std::string endpointLine(std::string_view endpoint, std::string_view what);

}  // namespace client
