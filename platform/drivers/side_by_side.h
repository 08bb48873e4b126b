// Several devices as one.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/device/driver.h"

namespace drivers {

struct NamedDriver {
  std::string name;  // prefix of its log lines
  std::unique_ptr<device::Driver> driver;
};

// Makes a device with the groups of all the others, those of the first device first. Groups get handles in order of
// appearance. Groups and ports get unique names. A group keeps its handle and names as long as its device has it.
// Groups and ports that are added later get a log line. The service carries connections between ports of two devices.
// Throws std::system_error if the system has no descriptor left.
std::unique_ptr<device::Driver> makeSideBySide(std::vector<NamedDriver> drivers);

}  // namespace drivers
