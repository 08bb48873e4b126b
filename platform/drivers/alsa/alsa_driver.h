// The MIDI ports of the ALSA sequencer.
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "platform/device/driver.h"

namespace drivers {

// The driver of this machine's sequencer, or one line that says why there is none. Clients are groups, ports that
// others may use are ports, and connections are subscriptions, everybody's.
//
// The driver has two clients of its own and a thread that empties what arrives; the thread takes no signals. From now
// on the ALSA library, everywhere in this process, writes nothing to standard error.
std::variant<std::unique_ptr<device::Driver>, std::string> openAlsa();

}  // namespace drivers
