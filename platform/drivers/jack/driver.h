// The ports of a JACK server.
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "platform/device/driver.h"

namespace drivers {

// What openJack does if no server runs.
enum class Absent { Fails, IsWaitedFor };

// Returns a driver of the server that JACK's own rules choose (JACK_DEFAULT_SERVER). If the server ends, the driver
// waits for the next one. With Fails, returns one line that says why there is no driver; with IsWaitedFor there always
// is one. Blocks for up to five seconds for the server. Makes JACK's library print nothing. Throws std::system_error if
// the system has no descriptor left.
std::variant<std::unique_ptr<device::Driver>, std::string> openJack(Absent absent);

}  // namespace drivers
