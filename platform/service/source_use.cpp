#include "platform/service/source_use.h"

#include <algorithm>
#include <utility>

namespace service {

bool SourceUse::isWanted(device::PortId source) const {
  return isTapped(source) || std::ranges::any_of(graph_.neighbours(source), [this](const auto& sink) {
           return sink.second.carrier == PatchGraph::Carrier::Service || isTapped(sink.second.port);
         });
}

void SourceUse::refresh(device::PortId source, device::Time now) {
  const bool isUsed = isWanted(source);
  if (isUsed == used_.contains(source)) return;
  if (isUsed) {
    used_.insert(source);
  } else {
    used_.erase(source);
  }
  driver_.setUsed(source, isUsed, now);
}

void SourceUse::refreshAround(std::span<const device::PortId> ports, device::Time now) {
  // A source is checked only once, even if several of the ports are connected to it.
  std::unordered_set<device::PortId, device::PortHash> seen;
  std::vector<device::PortId> sources;
  const auto enter = [&](device::PortId source) {
    if (seen.insert(source).second) sources.push_back(source);
  };
  for (const device::PortId port : ports) {
    if (port.side == device::Side::Source) {
      enter(port);
    } else {
      for (const auto& [order, neighbour] : graph_.neighbours(port)) enter(neighbour.port);
    }
  }
  for (const device::PortId source : sources) refresh(source, now);
}

void SourceUse::markAround(device::PortId port) {
  if (port.side == device::Side::Source) {
    mark(port);
  } else {
    for (const auto& [order, neighbour] : graph_.neighbours(port)) mark(neighbour.port);
  }
}

bool SourceUse::settle(device::Time now) {
  const bool any = !unsettled_.empty();
  while (!unsettled_.empty()) {
    for (const device::PortId source : std::exchange(unsettled_, {})) refresh(source, now);
  }
  return any;
}

}  // namespace service
