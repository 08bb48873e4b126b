// The MIDI ports of the ALSA sequencer.
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "platform/device/driver.h"

namespace drivers {

// Returns a driver of this machine's sequencer, or one line that says why there is none. Groups are clients, ports are
// the ports that others may use, and connections are subscriptions, whoever made them.
//
// The driver has two clients of its own and a thread that reads what arrives; the thread receives no signals. From this
// call on, the ALSA library writes nothing to standard error anywhere in this process.
std::variant<std::unique_ptr<device::Driver>, std::string> openAlsa();

}  // namespace drivers
