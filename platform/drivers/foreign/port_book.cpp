#include "platform/drivers/foreign/port_book.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>

namespace drivers {
namespace {

constexpr std::size_t MaxPlaces = std::numeric_limits<std::uint16_t>::max() + std::size_t{1};

std::size_t at(device::Side side) { return static_cast<std::size_t>(side); }

bool isOn(const ForeignPort& port, device::Side side) { return side == device::Side::Source ? port.source : port.sink; }

// The two places of one port must not share a name. A port on one side only keeps the name that users know.
std::string nameOn(const ForeignPort& port, device::Side side) {
  std::string clean = device::cleanName(port.name);
  if (!port.source || !port.sink) return clean;
  return device::joinName(clean, side == device::Side::Source ? "_out" : "_in");
}

}  // namespace

bool PortBook::update(std::span<const ForeignClient> clients) {
  changed_ = false;
  std::unordered_map<std::uint64_t, const ForeignClient*> now;
  for (const ForeignClient& client : clients) now.emplace(client.key, &client);
  for (auto& entry : groups_) {
    if (!entry.second.key) continue;
    const auto found = now.find(*entry.second.key);
    if (found == now.end() || found->second->name != entry.second.foreignName) leave(entry);
  }
  for (const ForeignClient& client : clients) {
    GroupSlot* group = groupFor(client);
    if (group == nullptr) continue;
    for (const device::Side side : {device::Side::Source, device::Side::Sink}) fill(*group, client, side);
  }
  forgetTheLongestGone();
  if (changed_) rebuild();
  return changed_;
}

void PortBook::leave(Groups::value_type& entry) {
  auto& [handle, group] = entry;
  const ForeignClient nobody;
  for (const device::Side side : {device::Side::Source, device::Side::Sink}) fill(group, nobody, side);
  here_.erase(*group.key);
  group.key.reset();
  gone_.emplace(departures_++, handle);
}

// Returns null if the client has no ports yet.
PortBook::GroupSlot* PortBook::groupFor(const ForeignClient& client) {
  if (const auto here = here_.find(client.key); here != here_.end()) return &groups_.at(here->second);
  if (client.ports.empty()) return nullptr;
  const auto gone =
      std::ranges::find_if(gone_, [&](const auto& one) { return groups_.at(one.second).foreignName == client.name; });
  std::uint64_t handle = nextHandle_;
  if (gone != gone_.end()) {
    handle = gone->second;
    gone_.erase(gone);
  } else {
    ++nextHandle_;
    groups_.emplace(handle, GroupSlot{client.name, groupNames_.add(client.name), {}, {}});
  }
  here_.emplace(client.key, handle);
  GroupSlot& group = groups_.at(handle);
  group.key = client.key;
  return &group;
}

void PortBook::forgetTheLongestGone() {
  while (gone_.size() > RememberedClients) {
    const auto forgotten = groups_.find(gone_.begin()->second);
    for (const auto& ports : forgotten->second.sides) {
      for (const PortSlot& port : ports) portNames_.remove(port.name);
    }
    groupNames_.remove(forgotten->second.name);
    groups_.erase(forgotten);
    gone_.erase(gone_.begin());
    changed_ = true;
  }
}

void PortBook::fill(GroupSlot& group, const ForeignClient& client, device::Side side) {
  auto& slots = group.sides.at(at(side));
  std::unordered_map<std::uint64_t, const ForeignPort*> now;
  for (const ForeignPort& port : client.ports) {
    if (isOn(port, side)) now.emplace(port.key, &port);
  }
  std::unordered_map<std::uint64_t, std::size_t> here;
  std::unordered_map<std::string, std::deque<std::size_t>> gone;
  for (std::size_t index = 0; index < slots.size(); ++index) {
    PortSlot& slot = slots[index];
    const auto found = slot.key ? now.find(*slot.key) : now.end();
    if (found != now.end() && found->second->name == slot.foreignName) {
      here.emplace(*slot.key, index);
      continue;
    }
    if (slot.key) changed_ = true;
    slot.key.reset();
    gone[slot.foreignName].push_back(index);
  }
  const auto takeUp = [&](const ForeignPort& port) -> std::optional<std::size_t> {
    if (const auto found = gone.find(port.name); found != gone.end() && !found->second.empty()) {
      const std::size_t index = found->second.front();
      found->second.pop_front();
      return index;
    }
    // A side's port count has 16 bits, like an index.
    if (slots.size() + 1 >= MaxPlaces) return std::nullopt;
    slots.push_back({port.name, portNames_.add(nameOn(port, side)), {}, {}});
    return slots.size() - 1;
  };
  for (const ForeignPort& port : client.ports) {
    if (!isOn(port, side)) continue;
    const auto known = here.find(port.key);
    std::optional<std::size_t> index;
    if (known != here.end()) {
      index = known->second;
    } else {
      index = takeUp(port);
      if (!index) continue;
      slots[*index].key = port.key;
      changed_ = true;
    }
    if (slots[*index].original != port.original) changed_ = true;
    slots[*index].original = port.original;
  }
}

void PortBook::rebuild() {
  std::vector<device::Group> groups;
  for (auto& places : places_) places.clear();
  for (const auto& [handle, slot] : groups_) {
    device::Group group;
    group.handle = handle;
    group.name = slot.name;
    group.original = slot.foreignName;
    for (const device::Side side : {device::Side::Source, device::Side::Sink}) {
      const auto& ports = slot.sides.at(at(side));
      if (ports.empty()) continue;
      device::SideOfGroup& filled = (side == device::Side::Source ? group.sources : group.sinks).emplace();
      for (const PortSlot& port : ports) {
        if (port.key) places_.at(at(side))[*port.key] = {handle, filled.count, side};
        ++filled.count;
        filled.names.push_back(port.name);
        filled.originals.push_back(port.original);
        filled.gone.push_back(!port.key);
      }
    }
    groups.push_back(std::move(group));
  }
  topology_ = device::Topology(std::move(groups));
}

std::optional<device::PortId> PortBook::place(std::uint64_t key, device::Side side) const {
  const auto& places = places_.at(at(side));
  const auto found = places.find(key);
  return found == places.end() ? std::nullopt : std::optional(found->second);
}

std::optional<device::Link> PortBook::link(std::uint64_t sourceKey, std::uint64_t sinkKey) const {
  const auto source = place(sourceKey, device::Side::Source);
  const auto sink = place(sinkKey, device::Side::Sink);
  if (!source || !sink) return std::nullopt;
  return device::Link{source->group, source->index, sink->group, sink->index};
}

std::optional<std::uint64_t> PortBook::key(device::PortId port) const {
  const auto group = groups_.find(port.group);
  if (group == groups_.end()) return std::nullopt;
  const auto& ports = group->second.sides.at(at(port.side));
  return port.index < ports.size() ? ports[port.index].key : std::nullopt;
}

}  // namespace drivers
