// Which devices there are, by name.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/device/driver.h"

namespace host {

// A device's driver; or what is wrong, in one line without a line end.
using DeviceOrProblem = std::variant<std::unique_ptr<service::Driver>, std::string>;

inline constexpr std::string_view BuiltinDriver = "builtin";
inline constexpr std::string_view JackDriver = "jack";
inline constexpr std::string_view AlsaDriver = "alsa";

// For a service in this process: the JACK server of this machine ("jack") or its ALSA sequencer ("alsa"), the built-in
// device when device is empty, else the device that this file describes (a problem then names the file). Blocks for the
// disk and the other system.
DeviceOrProblem openDevice(std::string_view device);

// For a service that lives for long: the devices of these drivers and, behind them, the one that file describes, unless
// it is empty; side by side when they are several. A JACK server that does not run yet is waited for. Names that are
// none of the above are a problem, and so is another system that is named twice.
DeviceOrProblem openDrivers(const std::vector<std::string>& names, const std::string& file);

}  // namespace host
