// Where to look for a service.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/client/connection.h"

namespace streamctl {

struct ServicePlace {
  std::vector<std::string> endpoints;  // to be tried in turn, at least one
  bool isDefault = false;              // nobody has said where
  std::string advice;                  // what the user can do when no streamd listens
};

// The given endpoint, else that of EVTSRV_ENDPOINT, else those that the console tries.
ServicePlace placeToLook(const std::optional<std::string>& given);

// The same for a command that needs a streamd: by default the well-known local socket only.
ServicePlace placeOfStreamd(ServicePlace place);

// Says on standard error why there is no service at an endpoint of the place and, when no streamd listens there, what
// to do next.
void sayProblem(const ServicePlace& place, const std::string& endpoint, const client::ConnectionProblem& problem);

// When no endpoint was given, says on standard error which one has been taken, and what to do next when nobody else
// sees its device.
void sayTaken(const ServicePlace& place, const std::string& endpoint);

}  // namespace streamctl
