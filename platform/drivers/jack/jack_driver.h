// The ports of a JACK server.
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "platform/device/driver.h"

namespace drivers {

// What a server that does not run is.
enum class Absent { Fails, IsWaitedFor };

// The driver of the server that JACK's own rules choose (JACK_DEFAULT_SERVER). A server that ends is waited for. The
// text says in a line why there is none; with IsWaitedFor there always is. Waits up to five seconds for the server.
// JACK's library is told to print nothing. Throws std::system_error when the system has no descriptor left.
std::variant<std::unique_ptr<device::Driver>, std::string> openJack(Absent absent);

}  // namespace drivers
