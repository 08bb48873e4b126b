// The drivers that exist, and devices by name.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/device/driver.h"

namespace drivers {

// A driver, or the error as one line without a line end.
using DriverOrProblem = std::variant<std::unique_ptr<device::Driver>, std::string>;

// How long the service that uses the driver lives. With Long, a driver may wait for a system that does not run yet.
enum class Lifetime { Short, Long };

// A driver and its name.
struct Entry {
  std::string_view name;  // "jack", as in --driver jack
  std::string_view text;  // "JACK": what the driver serves, for users

  // Blocks while the other system answers.
  DriverOrProblem (*open)(Lifetime lifetime);

  // True if the ports are those of another system. Such a driver can be requested by name alone (embedded:jack), and at
  // most once: a second one would list all ports twice, and the copies would hear each other. If the system does not
  // run, a program may use another device.
  bool isSystem;
};

// All drivers. A program that is given no driver tries the systems in this order. Always valid.
std::span<const Entry> catalogue();

// Returns the driver with this name, or null.
const Entry* find(std::string_view name);

// Returns "builtin, alsa, jack".
std::string namesOfAll();

// Opens a device for a service in this process: the system with this name, the built-in device if device is empty, else
// the device that this file describes (an error then names the file). Blocks for the disk and the other system.
DriverOrProblem openDevice(std::string_view device);

// Opens a device for a long-lived service: the devices of these drivers, then the one that file describes unless file
// is empty; side by side if there are several. A name that the catalogue does not have is an error, and so is a system
// that is named twice. Blocks for the disk and the other systems.
DriverOrProblem openDrivers(const std::vector<std::string>& names, const std::string& file);

}  // namespace drivers
