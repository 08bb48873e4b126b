// Any text is either a device whose ports can be found by their names, or one problem in one printable line.
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/drivers/described/device_parser.h"
#include "platform/system/printable.h"

namespace {

void require(bool held) {
  if (!held) std::abort();
}

void checkPort(const device::Topology& topology, device::PortId port) {
  const std::string name = topology.name(port);
  require(name.size() <= 63 && topology.port(name) == port);
}

void checkGroup(const device::Topology& topology, const device::Group& group) {
  for (const device::Side side : {device::Side::Source, device::Side::Sink}) {
    const auto& ports = group.side(side);
    if (!ports || ports->count == 0) continue;
    checkPort(topology, {group.handle, 0, side});
    checkPort(topology, {group.handle, static_cast<std::uint16_t>(ports->count - 1), side});
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  auto result = drivers::parseDevice(std::string_view(data, size));
  if (const auto* problem = std::get_if<drivers::DeviceFileProblem>(&result)) {
    require(problem->line > 0 && !problem->cause.empty());
    require(sys::printable(problem->cause) == problem->cause);
    return 0;
  }
  auto device = std::get<drivers::ParsedDevice>(std::move(result)).device;
  const std::vector<device::Link> links = device.links;
  const auto driver = drivers::makeDescribedDevice(std::move(device));
  for (const device::Group& group : driver->topology().groups()) checkGroup(driver->topology(), group);
  for (const device::Link& link : links) {
    require(driver->topology().exists(link.source()) && driver->topology().exists(link.sink()));
  }
  return 0;
}
