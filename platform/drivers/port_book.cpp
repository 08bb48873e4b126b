#include "platform/drivers/port_book.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace service {
namespace {

constexpr std::size_t MaxPlaces = std::numeric_limits<std::uint16_t>::max() + std::size_t{1};

std::size_t at(Side side) { return static_cast<std::size_t>(side); }

bool isOn(const ForeignPort& port, Side side) { return side == Side::Source ? port.source : port.sink; }

// The two places of one port must not share a name; what is on one side only keeps the name that people know.
std::string nameOn(const ForeignPort& port, Side side) {
  std::string clean = cleanName(port.name);
  if (!port.source || !port.sink) return clean;
  return joinName(clean, side == Side::Source ? "_out" : "_in");
}

}  // namespace

bool PortBook::update(std::span<const ForeignClient> clients) {
  changed_ = false;
  for (GroupSlot& group : groups_) {
    if (!group.key) continue;
    const bool stays = std::ranges::any_of(clients, [&](const ForeignClient& client) {
      return client.key == *group.key && client.name == group.foreignName;
    });
    if (!stays) {
      const ForeignClient nobody;
      for (const Side side : {Side::Source, Side::Sink}) fill(group, nobody, side);
      group.key.reset();
    }
  }
  for (const ForeignClient& client : clients) {
    GroupSlot* group = groupFor(client);
    if (group == nullptr) continue;
    for (const Side side : {Side::Source, Side::Sink}) fill(*group, client, side);
  }
  if (changed_) rebuild();
  return changed_;
}

PortBook::GroupSlot* PortBook::groupFor(const ForeignClient& client) {
  const auto named = [&](const GroupSlot& group) { return group.foreignName == client.name; };
  auto found =
      std::ranges::find_if(groups_, [&](const GroupSlot& group) { return group.key == client.key && named(group); });
  if (found == groups_.end() && !client.ports.empty()) {
    found = std::ranges::find_if(groups_, [&](const GroupSlot& group) { return !group.key && named(group); });
    if (found == groups_.end() && groups_.size() < MaxPlaces) {
      groups_.push_back({client.name, groupNames_.add(client.name), {}, {}});
      found = std::prev(groups_.end());
    }
  }
  if (found == groups_.end()) return nullptr;
  found->key = client.key;
  return &*found;
}

void PortBook::fill(GroupSlot& group, const ForeignClient& client, Side side) {
  auto& slots = group.sides.at(at(side));
  for (PortSlot& slot : slots) {
    if (!slot.key) continue;
    const bool stays = std::ranges::any_of(client.ports, [&](const ForeignPort& port) {
      return isOn(port, side) && port.key == *slot.key && port.name == slot.foreignName;
    });
    if (stays) continue;
    slot.key.reset();
    changed_ = true;
  }
  for (const ForeignPort& port : client.ports) {
    if (!isOn(port, side)) continue;
    const auto named = [&](const PortSlot& slot) { return slot.foreignName == port.name; };
    auto slot = std::ranges::find_if(slots, [&](const PortSlot& one) { return one.key == port.key && named(one); });
    if (slot == slots.end()) {
      slot = std::ranges::find_if(slots, [&](const PortSlot& one) { return !one.key && named(one); });
      // The count of a side has 16 bits, like an index.
      if (slot == slots.end() && slots.size() + 1 < MaxPlaces) {
        slots.push_back({port.name, portNames_.add(nameOn(port, side)), {}, {}});
        slot = std::prev(slots.end());
      }
      if (slot == slots.end()) continue;
      slot->key = port.key;
      changed_ = true;
    }
    if (slot->original != port.original) changed_ = true;
    slot->original = port.original;
  }
}

void PortBook::rebuild() {
  std::vector<Group> groups;
  for (auto& places : places_) places.clear();
  for (const GroupSlot& slot : groups_) {
    Group group;
    group.id = static_cast<std::uint16_t>(groups.size());
    group.name = slot.name;
    group.original = slot.foreignName;
    for (const Side side : {Side::Source, Side::Sink}) {
      const auto& ports = slot.sides.at(at(side));
      if (ports.empty()) continue;
      SideOfGroup& filled = (side == Side::Source ? group.sources : group.sinks).emplace();
      for (const PortSlot& port : ports) {
        if (port.key) places_.at(at(side))[*port.key] = {group.id, filled.count, side};
        ++filled.count;
        filled.names.push_back(port.name);
        filled.originals.push_back(port.original);
        filled.gone.push_back(!port.key);
      }
    }
    groups.push_back(std::move(group));
  }
  topology_ = Topology(std::move(groups));
}

std::optional<PortId> PortBook::place(std::uint64_t key, Side side) const {
  const auto& places = places_.at(at(side));
  const auto found = places.find(key);
  return found == places.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::uint64_t> PortBook::key(PortId port) const {
  if (port.group >= groups_.size()) return std::nullopt;
  const auto& ports = groups_[port.group].sides.at(at(port.side));
  return port.index < ports.size() ? ports[port.index].key : std::nullopt;
}

}  // namespace service
