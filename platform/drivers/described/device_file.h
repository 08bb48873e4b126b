// Device files: a device described in TOML (see device_parser.h for the format).
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <variant>

#include "platform/device/driver.h"
#include "platform/drivers/described/device_parser.h"

namespace drivers {

// Loads the Standard MIDI Files of the players; file names are relative to folder. Blocks for the disk.
std::variant<DeviceDescription, DeviceFileProblem> loadPlayers(ParsedDevice parsed,
                                                               const std::filesystem::path& folder);

// Returns the driver of the device that the file at path describes, or the error as one printable line: "FILE:LINE:
// cause", or "FILE: cause" if the file cannot be read. Blocks for the disk.
std::variant<std::unique_ptr<device::Driver>, std::string> loadDeviceFile(const std::string& path);

}  // namespace drivers
