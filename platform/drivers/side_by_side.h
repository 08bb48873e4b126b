// Several devices as one.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/device/driver.h"

namespace drivers {

struct NamedDriver {
  std::string name;  // in front of what it has for the log
  std::unique_ptr<device::Driver> driver;
};

// A device with the groups of all the others: first those of the first. Groups have handles in the order of appearance,
// and names that differ, also their ports; both are kept as long as the one that a group comes from has it. Groups and
// ports that come later have a line for the log. Connections between ports of two devices are the service's to carry.
// Throws std::system_error when the system has no descriptor left.
std::unique_ptr<device::Driver> makeSideBySide(std::vector<NamedDriver> drivers);

}  // namespace drivers
