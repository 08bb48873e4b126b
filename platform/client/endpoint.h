// Where a service is to be found, in words.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace client {

// A service in this process: on the device that a file describes, or on the built-in device when file is empty.
struct EmbeddedEndpoint {
  std::string file;
  friend bool operator==(const EmbeddedEndpoint&, const EmbeddedEndpoint&) = default;
};

// No service, and why.
struct NoEndpoint {
  std::string cause;
  friend bool operator==(const NoEndpoint&, const NoEndpoint&) = default;
};

using Endpoint = std::variant<EmbeddedEndpoint, NoEndpoint>;

// text: as in EVTSRV_ENDPOINT; empty stands for the built-in device. behaviour: EvtSrv::ConBehave bits.
Endpoint parseEndpoint(std::string_view text, std::uint32_t behaviour);

// What is said on standard error when endpoint has no service: one printable line without its line end, naming the
// endpoint ("embedded:" for the empty one) and the cause.
std::string problemLine(std::string_view endpoint, std::string_view cause);

}  // namespace client
