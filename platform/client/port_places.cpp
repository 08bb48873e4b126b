#include "platform/client/port_places.h"

#include <limits>

namespace client {

using StrmSrv::PortRecord;

namespace {

constexpr std::uint16_t Last = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint64_t PortsOfGroup = Last + 1U;

// No service has a port with the last index: a count has 16 bits.
constexpr channel::ServicePort Nowhere{std::numeric_limits<std::uint64_t>::max(), Last};

template <class Visit>
void forEachSide(const wire::TopologyGroup& group, const Visit& visit) {
  if (group.sources) visit(*group.sources, device::Side::Source);
  if (group.sinks) visit(*group.sinks, device::Side::Sink);
}

std::string nameOf(const wire::TopologySide& ports, std::uint16_t index) {
  return ports.names.empty() ? ports.prefix + std::to_string(index + 1) : ports.names[index];
}

}  // namespace

PortPlaces::PortPlaces(wire::Topology first) : first_(std::move(first)) {
  for (const wire::TopologyGroup& group : first_.topology().groups) {
    idByName_.emplace(group.name, *group.id);
    ids_.emplace(group.handle, *group.id);
    handles_.emplace(*group.id, group.handle);
  }
}

PortPlaces::Key PortPlaces::key(PortRecord port, device::Side side) {
  return (Key{port.groupId} * PortsOfGroup + port.portIndex) * 2 + (side == device::Side::Sink ? 1 : 0);
}

template <class Value>
auto PortPlaces::ofGroup(std::map<Key, Value>& byPlace, std::uint16_t id) {
  return std::pair(byPlace.lower_bound(key({id, 0}, device::Side::Source)),
                   byPlace.upper_bound(key({id, Last}, device::Side::Sink)));
}

bool PortPlaces::knows(PortRecord port, device::Side side) const {
  return first_.has(port.groupId, port.portIndex, side) || later_.contains(key(port, side));
}

void PortPlaces::follow(const wire::Topology& now, bool isAnother, const NewGroup& newGroup) {
  if (isAnother) {
    ids_.clear();
    handles_.clear();
    moved_.clear();
    toService_.clear();
    fromService_.clear();
  }
  // All groups first: a new group may invalidate a place that a port of another group has just been given.
  for (const wire::TopologyGroup& group : now.groups) {
    if (!ids_.contains(group.handle) && !moved_.contains(group.handle)) meet(group, newGroup);
  }
  for (const wire::TopologyGroup& group : now.groups) {
    if (const auto inPlace = ids_.find(group.handle); inPlace != ids_.end()) {
      forEachSide(group, [&](const wire::TopologySide& ports, device::Side side) {
        followInPlace(group.handle, inPlace->second, ports, side);
      });
    } else if (const auto moved = moved_.find(group.handle); moved != moved_.end()) {
      forEachSide(group, [&](const wire::TopologySide& ports, device::Side side) {
        for (std::uint16_t index = 0; index < ports.count; ++index) {
          if (ports.has(index)) followByName({group.handle, index}, moved->second, side, nameOf(ports, index));
        }
      });
    }
  }
}

// Assigns an id to a group whose handle is new, and decides whether its ports keep their indices.
void PortPlaces::meet(const wire::TopologyGroup& group, const NewGroup& newGroup) {
  const auto known = idByName_.find(group.name);
  const auto id = known != idByName_.end() ? std::optional(known->second) : newGroup(group);
  if (!id) return;
  forgetHandleOf(*id);
  if (known != idByName_.end() && !isAsAtFirst(*id, group)) {
    moved_.emplace(group.handle, *id);
    return;
  }
  idByName_.emplace(group.name, *id);
  ids_.emplace(group.handle, *id);
  handles_.emplace(*id, group.handle);
  // Later ports may have other indices in this service; unknown until their names are compared.
  auto [later, end] = ofGroup(later_, *id);
  for (; later != end; ++later) toService_.try_emplace(later->first, Nowhere);
}

bool PortPlaces::isAsAtFirst(std::uint16_t id, const wire::TopologyGroup& group) const {
  const wire::TopologyGroup* first = first_.find(id);
  return first != nullptr && first->sources == group.sources && first->sinks == group.sinks;
}

void PortPlaces::forgetHandleOf(std::uint16_t id) {
  if (const auto found = handles_.find(id); found != handles_.end()) {
    ids_.erase(found->second);
    handles_.erase(found);
  }
  std::erase_if(moved_, [id](const auto& moved) { return moved.second == id; });
  auto [port, end] = ofGroup(toService_, id);
  while (port != end) forgetMove((port++)->first);
}

// Afterwards the port at this place has the service's own index.
void PortPlaces::forgetMove(Key place) {
  const auto found = toService_.find(place);
  if (found == toService_.end()) return;
  fromService_.erase({found->second, place % 2 != 0 ? device::Side::Sink : device::Side::Source});
  toService_.erase(found);
}

void PortPlaces::followInPlace(std::uint64_t handle, std::uint16_t id, const wire::TopologySide& ports,
                               device::Side side) {
  for (std::uint16_t index = 0; index < ports.count; ++index) {
    const PortRecord place{id, index};
    if (!ports.has(index)) continue;
    if (!knows(place, side)) {
      learn(place, side, nameOf(ports, index));
      continue;
    }
    const auto later = later_.find(key(place, side));
    if (later == later_.end() || later->second == nameOf(ports, index)) {
      forgetMove(key(place, side));
      continue;
    }
    // The service has another port at this index than the one that the place belongs to.
    toService_.try_emplace(key(place, side), Nowhere);
    followByName({handle, index}, id, side, nameOf(ports, index));
  }
}

void PortPlaces::followByName(channel::ServicePort there, std::uint16_t id, device::Side side,
                              const std::string& name) {
  if (fromService_.contains({there, side})) return;
  const auto known = placeOf(name, side);
  PortRecord place = known.value_or(PortRecord{id, there.index});
  if (!known) {
    while (place.portIndex < Last && knows(place, side)) ++place.portIndex;
    learn(place, side, name);
  }
  forgetMove(key(place, side));
  toService_[key(place, side)] = there;
  fromService_[{there, side}] = place;
}

void PortPlaces::learn(PortRecord place, device::Side side, const std::string& name) {
  later_.emplace(key(place, side), name);
  if (namesEntered_) byName_.try_emplace(name, place, side);
}

std::optional<PortRecord> PortPlaces::placeOf(const std::string& name, device::Side side) {
  enterNames();
  const auto found = byName_.find(name);
  return found == byName_.end() || found->second.second != side ? std::nullopt : std::optional(found->second.first);
}

void PortPlaces::enterNames() {
  if (std::exchange(namesEntered_, true)) return;
  for (const wire::TopologyGroup& group : first_.topology().groups) {
    forEachSide(group, [&](const wire::TopologySide& ports, device::Side side) {
      for (std::uint16_t index = 0; index < ports.count; ++index) {
        if (ports.has(index)) byName_.try_emplace(nameOf(ports, index), PortRecord{*group.id, index}, side);
      }
    });
  }
  for (const auto& [place, name] : later_) {
    const PortRecord port{static_cast<std::uint16_t>(place / 2 / PortsOfGroup),
                          static_cast<std::uint16_t>(place / 2 % PortsOfGroup)};
    byName_.try_emplace(name, port, place % 2 != 0 ? device::Side::Sink : device::Side::Source);
  }
}

channel::ServicePort PortPlaces::toService(PortRecord port, device::Side side) const {
  if (const auto moved = toService_.find(key(port, side)); moved != toService_.end()) return moved->second;
  const auto handle = handles_.find(port.groupId);
  return handle == handles_.end() ? Nowhere : channel::ServicePort{handle->second, port.portIndex};
}

std::optional<PortRecord> PortPlaces::fromService(channel::ServicePort port, device::Side side) const {
  if (const auto moved = fromService_.find({port, side}); moved != fromService_.end()) return moved->second;
  const auto id = ids_.find(port.group);
  if (id == ids_.end()) return std::nullopt;
  const PortRecord place{id->second, port.index};
  // The place belongs to a port that is elsewhere in this service, or unknown to it.
  if (toService_.contains(key(place, side))) return std::nullopt;
  return knows(place, side) ? std::optional(place) : std::nullopt;
}

std::string PortPlaces::name(PortRecord port, device::Side side) const {
  const auto later = later_.find(key(port, side));
  return later == later_.end() ? first_.name(port.groupId, port.portIndex, side) : later->second;
}

}  // namespace client
