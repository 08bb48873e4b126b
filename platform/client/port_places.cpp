#include "platform/client/port_places.h"

#include <algorithm>
#include <limits>

namespace client {

using StrmSrv::PortRecord;

namespace {

constexpr std::uint16_t Last = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint64_t PortsOfGroup = Last + 1U;

// No service has a port with the last index: a count has 16 bits.
constexpr PortRecord Nowhere{Last, Last};

template <class Visit>
void forEachSide(const wire::TopologyGroup& group, const Visit& visit) {
  if (group.sources) visit(*group.sources, Side::Source);
  if (group.sinks) visit(*group.sinks, Side::Sink);
}

std::string nameOf(const wire::TopologySide& ports, std::uint16_t index) {
  return ports.names.empty() ? ports.prefix + std::to_string(index + 1) : ports.names[index];
}

}  // namespace

PortPlaces::PortPlaces(wire::Topology first) : first_(std::move(first)) {}

PortPlaces::Key PortPlaces::key(PortRecord port, Side side) {
  return (Key{port.groupId} * PortsOfGroup + port.portIndex) * 2 + (side == Side::Sink ? 1 : 0);
}

bool PortPlaces::knows(PortRecord port, Side side) const {
  return first_.has(port.groupId, port.portIndex, side) || later_.contains(key(port, side));
}

void PortPlaces::follow(const wire::Topology& now, bool isAnother) {
  if (isAnother) {
    toService_.clear();
    fromService_.clear();
    byName_.clear();
    haveMoved_ = now != first_.topology();
    if (haveMoved_) enterNames();
  }
  for (const wire::TopologyGroup& group : now.groups) {
    forEachSide(group, [&](const wire::TopologySide& ports, Side side) { follow(group, ports, side); });
  }
}

void PortPlaces::follow(const wire::TopologyGroup& group, const wire::TopologySide& ports, Side side) {
  for (std::uint16_t index = 0; index < ports.count; ++index) {
    const PortRecord there{group.id, index};
    if (!ports.has(index) || fromService(there, side)) continue;
    const std::string name = nameOf(ports, index);
    if (!haveMoved_) {
      learn(there, side, name, group);
      continue;
    }
    const auto known = placeOf(name, side);
    const PortRecord place = known ? *known : newPlace(group, index, side);
    if (!known) {
      learn(place, side, name, group);
      byName_.try_emplace(name, place, side);
    }
    toService_[key(place, side)] = there;
    fromService_[key(there, side)] = place;
  }
}

void PortPlaces::learn(PortRecord place, Side side, const std::string& name, const wire::TopologyGroup& group) {
  later_.emplace(key(place, side), name);
  if (first_.find(place.groupId) == nullptr) laterGroups_.emplace(place.groupId, group.name);
}

std::optional<PortRecord> PortPlaces::placeOf(const std::string& name, Side side) const {
  const auto found = byName_.find(name);
  return found == byName_.end() || found->second.second != side ? std::nullopt : std::optional(found->second.first);
}

PortRecord PortPlaces::newPlace(const wire::TopologyGroup& group, std::uint16_t index, Side side) const {
  PortRecord place{groupOf(group), index};
  while (place.portIndex < Last && knows(place, side)) ++place.portIndex;
  return place;
}

std::uint16_t PortPlaces::groupOf(const wire::TopologyGroup& group) const {
  const auto& groups = first_.topology().groups;
  const auto first = std::ranges::find(groups, group.name, &wire::TopologyGroup::name);
  if (first != groups.end()) return first->id;
  for (const auto& [id, name] : laterGroups_) {
    if (name == group.name) return id;
  }
  std::uint16_t id = group.id;
  while (id < Last && (first_.find(id) != nullptr || laterGroups_.contains(id))) ++id;
  return id;
}

void PortPlaces::enterNames() {
  for (const wire::TopologyGroup& group : first_.topology().groups) {
    forEachSide(group, [&](const wire::TopologySide& ports, Side side) {
      for (std::uint16_t index = 0; index < ports.count; ++index) {
        if (ports.has(index)) byName_.try_emplace(nameOf(ports, index), PortRecord{group.id, index}, side);
      }
    });
  }
  for (const auto& [place, name] : later_) {
    const PortRecord port{static_cast<std::uint16_t>(place / 2 / PortsOfGroup),
                          static_cast<std::uint16_t>(place / 2 % PortsOfGroup)};
    byName_.try_emplace(name, port, place % 2 != 0 ? Side::Sink : Side::Source);
  }
}

PortRecord PortPlaces::toService(PortRecord port, Side side) const {
  if (!haveMoved_) return port;
  const auto found = toService_.find(key(port, side));
  return found == toService_.end() ? Nowhere : found->second;
}

std::optional<PortRecord> PortPlaces::fromService(PortRecord port, Side side) const {
  if (!haveMoved_) return knows(port, side) ? std::optional(port) : std::nullopt;
  const auto found = fromService_.find(key(port, side));
  return found == fromService_.end() ? std::nullopt : std::optional(found->second);
}

std::string PortPlaces::name(PortRecord port, Side side) const {
  const auto later = later_.find(key(port, side));
  return later == later_.end() ? first_.name(port.groupId, port.portIndex, side) : later->second;
}

}  // namespace client
