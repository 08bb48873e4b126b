#include "platform/drivers/catalogue.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/drivers/described/builtin.h"
#include "platform/drivers/described/device_file.h"
#include "platform/drivers/side_by_side.h"
#ifdef FLOWSCOPE_HAVE_ALSA
#include "platform/drivers/alsa/driver.h"
#endif
#ifdef FLOWSCOPE_HAVE_JACK
#include "platform/drivers/jack/driver.h"
#endif

namespace drivers {
namespace {

DriverOrProblem openBuiltin(Lifetime /*lifetime*/) { return makeBuiltinDriver(); }

DriverOrProblem openSequencer(Lifetime /*lifetime*/) {
#ifdef FLOWSCOPE_HAVE_ALSA
  return openAlsa();
#else
  return "built without support for the ALSA sequencer";
#endif
}

DriverOrProblem openServer([[maybe_unused]] Lifetime lifetime) {
#ifdef FLOWSCOPE_HAVE_JACK
  return openJack(lifetime == Lifetime::Long ? Absent::IsWaitedFor : Absent::Fails);
#else
  return "built without support for JACK";
#endif
}

constexpr std::array Entries{
    Entry{"builtin", "built-in device", openBuiltin, false},
    Entry{"alsa", "ALSA sequencer", openSequencer, true},
    Entry{"jack", "JACK", openServer, true},
};

}  // namespace

std::span<const Entry> catalogue() { return Entries; }

const Entry* find(std::string_view name) {
  const auto* const found = std::ranges::find(Entries, name, &Entry::name);
  return found == Entries.end() ? nullptr : found;
}

std::string namesOfAll() {
  std::string names;
  for (const Entry& entry : Entries) names.append(names.empty() ? "" : ", ").append(entry.name);
  return names;
}

DriverOrProblem openDevice(std::string_view device) {
  if (device.empty()) return makeBuiltinDriver();
  const Entry* entry = find(device);
  return entry != nullptr && entry->isSystem ? entry->open(Lifetime::Short) : loadDeviceFile(std::string(device));
}

DriverOrProblem openDrivers(const std::vector<std::string>& names, const std::string& file) {
  for (const Entry& entry : Entries) {
    if (entry.isSystem && std::ranges::count(names, entry.name) > 1)
      return std::string(entry.name) + ": may be given only once";
  }
  std::vector<NamedDriver> opened;
  for (const std::string& name : names) {
    const Entry* entry = find(name);
    auto driver = entry == nullptr ? DriverOrProblem("no such driver") : entry->open(Lifetime::Long);
    if (const auto* problem = std::get_if<std::string>(&driver)) return name + ": " + *problem;
    opened.push_back({name, std::get<std::unique_ptr<device::Driver>>(std::move(driver))});
  }
  if (!file.empty()) {
    auto driver = loadDeviceFile(file);
    if (auto* problem = std::get_if<std::string>(&driver)) return std::move(*problem);
    opened.push_back({file, std::get<std::unique_ptr<device::Driver>>(std::move(driver))});
  }
  // A described device logs nothing, so it needs no name as prefix.
  const bool isDescribed = names.empty() || !find(names.front())->isSystem;
  if (opened.size() == 1 && isDescribed) return std::move(opened.front().driver);
  return makeSideBySide(std::move(opened));
}

}  // namespace drivers
