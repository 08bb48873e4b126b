// The service's result of a request.
#pragma once

#include <cstdint>

namespace device {

enum class Status : std::uint32_t {
  Ok = 0,
  Nothing = 1,     // there was nothing to do: no such tap
  NotFound = 2,    // no such port or connection
  BadRequest = 3,  // the request is malformed or not allowed here
  NoSession = 4,   // the service does not know this client, or no longer
  Refused = 5,     // the device does not do this, or a limit is reached
};

}  // namespace device
