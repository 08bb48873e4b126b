// Which drivers there are, and devices by name.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/device/driver.h"

namespace drivers {

// A driver; or what is wrong, in one line without a line end.
using DriverOrProblem = std::variant<std::unique_ptr<device::Driver>, std::string>;

// How long the service lives that a driver is for. A long one waits for a system that does not run yet.
enum class Service { Short, Long };

// A driver that has a name.
struct Entry {
  std::string_view name;  // "jack", as in --driver jack
  std::string_view text;  // "JACK": what it serves, for people

  // Blocks for the other system.
  DriverOrProblem (*open)(Service service);

  // Its ports are those of another system, which can be asked for by name alone (embedded:jack), and only once: all
  // ports would be there twice, and hear each other. Without the system a program may take another device.
  bool isSystem;
};

// All of them. A program that has been told nothing tries the systems in this order. Valid for ever.
std::span<const Entry> catalogue();

// The driver of this name, or null.
const Entry* find(std::string_view name);

// "builtin, alsa, jack".
std::string namesOfAll();

// For a service in this process: the system of this name, the built-in device when device is empty, else the device
// that this file describes (a problem then names the file). Blocks for the disk and the other system.
DriverOrProblem openDevice(std::string_view device);

// For a service that lives for long: the devices of these drivers and, behind them, the one that file describes, unless
// it is empty; side by side when they are several. Names that the catalogue does not have are a problem, and so is a
// system that is named twice. Blocks for the disk and the other systems.
DriverOrProblem openDrivers(const std::vector<std::string>& names, const std::string& file);

}  // namespace drivers
