// What the service answers to a request.
#pragma once

#include <cstdint>

namespace device {

enum class Status : std::uint32_t {
  Ok = 0,
  Nothing = 1,     // nothing had to be done: no such tap
  NotFound = 2,    // no such port or connection
  BadRequest = 3,  // the request is malformed, or out of place
  NoSession = 4,   // the service does not know this client (any more)
  Refused = 5,     // the device does not do this
};

}  // namespace device
