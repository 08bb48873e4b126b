#include "platform/client/port_numbers.h"

#include <limits>

namespace client {

PortNumbers::PortNumbers(const wire::Topology& topology) {
  for (const wire::TopologyGroup& group : topology.groups) {
    if (group.sources) enter(*group.id, device::Side::Source, *group.sources);
    if (group.sinks) enter(*group.id, device::Side::Sink, *group.sinks);
  }
}

void PortNumbers::enter(std::uint16_t group, device::Side side, const wire::TopologySide& ports) {
  Gapless gapless;
  for (std::uint16_t index = 0; index < ports.count; ++index) {
    if (ports.has(index)) gapless.add(index);
  }
  if (gapless.toService.size() == ports.count) return;
  gapless.firstCount = static_cast<std::uint16_t>(gapless.toService.size());
  sides_.emplace(std::pair{group, side}, std::move(gapless));
}

std::uint16_t PortNumbers::Gapless::add(std::uint16_t index) {
  const auto number = static_cast<std::uint16_t>(toService.size());
  const auto [known, isNew] = toConsole.try_emplace(index, number);
  if (isNew) toService.push_back(index);
  return known->second;
}

std::uint16_t PortNumbers::count(std::uint16_t group, device::Side side, std::uint16_t serviceCount) const {
  const auto found = sides_.find({group, side});
  return found == sides_.end() ? serviceCount : found->second.firstCount;
}

std::uint16_t PortNumbers::toService(std::uint16_t group, std::uint16_t index, device::Side side) const {
  const auto found = sides_.find({group, side});
  if (found == sides_.end()) return index;
  // No service has a port with the last index, because a count has 16 bits.
  const auto& numbers = found->second.toService;
  return index < numbers.size() ? numbers[index] : std::numeric_limits<std::uint16_t>::max();
}

std::uint16_t PortNumbers::toConsole(std::uint16_t group, std::uint16_t index, device::Side side) {
  const auto found = sides_.find({group, side});
  return found == sides_.end() ? index : found->second.add(index);
}

}  // namespace client
