// Where to look for a service.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/channel/connector.h"

namespace streamctl {

struct ServicePlace {
  std::vector<std::string> endpoints;  // to try in turn, at least one
  bool isDefault = false;              // several defaults are tried, and the one used is printed
  std::string advice;                  // what the user can do if no streamd listens
};

// The given endpoint, else that of EVTSRV_ENDPOINT, else those that the console tries.
ServicePlace placeToLook(const std::optional<std::string>& given);

// The same place for a command that needs a service that others use, too: by default only the well-known local socket.
ServicePlace placeOfStreamd(ServicePlace place);

// Prints to standard error why there is no service at an endpoint of the place and, if no streamd listens there, what
// to do next.
void sayProblem(const ServicePlace& place, const std::string& endpoint, const channel::ConnectProblem& problem);

// If the user has not said where, prints to standard error which endpoint is used, and also what to do next if nobody
// else sees its device.
void sayTaken(const ServicePlace& place, const std::string& endpoint);

}  // namespace streamctl
