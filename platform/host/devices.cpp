#include "platform/host/devices.h"

#include <algorithm>
#include <utility>

#include "platform/drivers/described/builtin.h"
#include "platform/drivers/described/device_file.h"
#include "platform/drivers/side_by_side.h"
#ifdef FLOWSCOPE_HAVE_ALSA
#include "platform/drivers/alsa/alsa_driver.h"
#endif
#ifdef FLOWSCOPE_HAVE_JACK
#include "platform/drivers/jack/jack_driver.h"
#endif

namespace host {
namespace {

DeviceOrProblem openAlsa() {
#ifdef FLOWSCOPE_HAVE_ALSA
  return service::openAlsa();
#else
  return "built without support for the ALSA sequencer";
#endif
}

DeviceOrProblem openJack([[maybe_unused]] bool waits) {
#ifdef FLOWSCOPE_HAVE_JACK
  return service::openJack(waits ? service::Absent::IsWaitedFor : service::Absent::Fails);
#else
  return "built without support for JACK";
#endif
}

DeviceOrProblem openDriver(std::string_view name) {
  if (name == BuiltinDriver) return service::makeBuiltinDriver();
  if (name == AlsaDriver) return openAlsa();
  if (name == JackDriver) return openJack(true);
  return "no such driver";
}

}  // namespace

DeviceOrProblem openDevice(std::string_view device) {
  if (device.empty()) return service::makeBuiltinDriver();
  if (device == AlsaDriver) return openAlsa();
  if (device == JackDriver) return openJack(false);
  return service::loadDeviceFile(std::string(device));
}

DeviceOrProblem openDrivers(const std::vector<std::string>& names, const std::string& file) {
  // All ports of another system would be there twice, and hear each other.
  for (const std::string_view name : {AlsaDriver, JackDriver}) {
    if (std::ranges::count(names, name) > 1) return std::string(name) + ": asked for twice";
  }
  std::vector<service::NamedDriver> opened;
  for (const std::string& name : names) {
    auto driver = openDriver(name);
    if (const auto* problem = std::get_if<std::string>(&driver)) return name + ": " + *problem;
    opened.push_back({name, std::get<std::unique_ptr<service::Driver>>(std::move(driver))});
  }
  if (!file.empty()) {
    auto driver = service::loadDeviceFile(file);
    if (auto* problem = std::get_if<std::string>(&driver)) return std::move(*problem);
    opened.push_back({file, std::get<std::unique_ptr<service::Driver>>(std::move(driver))});
  }
  // A described device has nothing for the log that its name would have to stand before.
  const bool isDescribed = names.empty() || names.front() == BuiltinDriver;
  if (opened.size() == 1 && isDescribed) return std::move(opened.front().driver);
  return service::makeSideBySide(std::move(opened));
}

}  // namespace host
