#include "platform/client/port_places.h"

#include <limits>

namespace client {

using StrmSrv::PortRecord;

namespace {

constexpr std::uint16_t Last = std::numeric_limits<std::uint16_t>::max();

// No service has a port with the last index: a count has 16 bits.
constexpr device::PortId nowhere(device::Side side) { return {std::numeric_limits<std::uint64_t>::max(), Last, side}; }

template <class Visit>
void forEachSide(const device::Group& group, const Visit& visit) {
  if (group.sources) visit(*group.sources, device::Side::Source);
  if (group.sinks) visit(*group.sinks, device::Side::Sink);
}

}  // namespace

PortPlaces::PortPlaces(std::vector<device::Group> first) {
  for (device::Group& group : first) {
    const std::uint16_t id = *group.wantedId;
    idByName_.emplace(group.name, id);
    ids_.emplace(group.handle, id);
    handles_.emplace(id, group.handle);
    group.handle = id;
  }
  first_ = device::Topology(std::move(first));
}

template <class Value>
auto PortPlaces::ofGroup(std::map<Place, Value>& byPlace, std::uint16_t id) {
  return std::pair(byPlace.lower_bound({id, 0, device::Side::Source}),
                   byPlace.upper_bound({id, Last, device::Side::Sink}));
}

bool PortPlaces::knows(Place place) const { return first_.exists(place) || later_.contains(place); }

void PortPlaces::follow(std::span<const device::Group> now, bool isAnother, const NewGroup& newGroup) {
  if (isAnother) {
    ids_.clear();
    handles_.clear();
    moved_.clear();
    toService_.clear();
    fromService_.clear();
  }
  // All groups first: a new group may invalidate a place that a port of another group has just been given.
  for (const device::Group& group : now) {
    if (!ids_.contains(group.handle) && !moved_.contains(group.handle)) meet(group, newGroup);
  }
  for (const device::Group& group : now) {
    if (const auto inPlace = ids_.find(group.handle); inPlace != ids_.end()) {
      forEachSide(group, [&](const device::SideOfGroup& ports, device::Side side) {
        followInPlace(group.handle, inPlace->second, ports, side);
      });
    } else if (const auto moved = moved_.find(group.handle); moved != moved_.end()) {
      forEachSide(group, [&](const device::SideOfGroup& ports, device::Side side) {
        for (std::uint16_t index = 0; index < ports.count; ++index) {
          if (ports.exists(index)) followByName({group.handle, index, side}, moved->second, ports.nameOf(index));
        }
      });
    }
  }
}

// Assigns an id to a group whose handle is new, and decides whether its ports keep their indices.
void PortPlaces::meet(const device::Group& group, const NewGroup& newGroup) {
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
  for (; later != end; ++later) toService_.try_emplace(later->first, nowhere(later->first.side));
}

bool PortPlaces::isAsAtFirst(std::uint16_t id, const device::Group& group) const {
  const device::Group* first = first_.find(id);
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
void PortPlaces::forgetMove(Place place) {
  const auto found = toService_.find(place);
  if (found == toService_.end()) return;
  fromService_.erase(found->second);
  toService_.erase(found);
}

void PortPlaces::followInPlace(std::uint64_t handle, std::uint16_t id, const device::SideOfGroup& ports,
                               device::Side side) {
  for (std::uint16_t index = 0; index < ports.count; ++index) {
    const Place place{id, index, side};
    if (!ports.exists(index)) continue;
    if (!knows(place)) {
      learn(place, ports.nameOf(index));
      continue;
    }
    const auto later = later_.find(place);
    if (later == later_.end() || later->second == ports.nameOf(index)) {
      forgetMove(place);
      continue;
    }
    // The service has another port at this index than the one that the place belongs to.
    toService_.try_emplace(place, nowhere(side));
    followByName({handle, index, side}, id, ports.nameOf(index));
  }
}

void PortPlaces::followByName(device::PortId there, std::uint16_t id, const std::string& name) {
  if (fromService_.contains(there)) return;
  const auto known = placeOf(name, there.side);
  Place place = known.value_or(Place{id, there.index, there.side});
  if (!known) {
    while (place.index < Last && knows(place)) ++place.index;
    learn(place, name);
  }
  forgetMove(place);
  toService_[place] = there;
  fromService_[there] = place;
}

void PortPlaces::learn(Place place, const std::string& name) {
  later_.emplace(place, name);
  laterByName_.try_emplace(name, place);
}

std::optional<PortPlaces::Place> PortPlaces::placeOf(const std::string& name, device::Side side) const {
  auto found = first_.port(name);
  if (!found) {
    if (const auto later = laterByName_.find(name); later != laterByName_.end()) found = later->second;
  }
  return found && found->side == side ? found : std::nullopt;
}

device::PortId PortPlaces::toService(PortRecord port, device::Side side) const {
  if (const auto moved = toService_.find(place(port, side)); moved != toService_.end()) return moved->second;
  const auto handle = handles_.find(port.groupId);
  return handle == handles_.end() ? nowhere(side) : device::PortId{handle->second, port.portIndex, side};
}

std::optional<PortRecord> PortPlaces::fromService(device::PortId port) const {
  if (const auto moved = fromService_.find(port); moved != fromService_.end()) return record(moved->second);
  const auto id = ids_.find(port.group);
  if (id == ids_.end()) return std::nullopt;
  const Place place{id->second, port.index, port.side};
  // The place belongs to a port that is elsewhere in this service, or unknown to it.
  if (toService_.contains(place)) return std::nullopt;
  return knows(place) ? std::optional(record(place)) : std::nullopt;
}

std::string PortPlaces::name(PortRecord port, device::Side side) const {
  const auto later = later_.find(place(port, side));
  return later == later_.end() ? first_.name(place(port, side)) : later->second;
}

}  // namespace client
