#include "platform/device/topology.h"

#include <algorithm>
#include <cassert>
#include <functional>
#include <utility>

#include "platform/device/port_name.h"

namespace device {
namespace {

std::size_t hashOf(std::string_view text) { return std::hash<std::string_view>{}(text); }

}  // namespace

bool SideOfGroup::allGone() const { return !gone.empty() && std::ranges::find(gone, false) == gone.end(); }

std::string SideOfGroup::nameOf(std::uint16_t index) const {
  assert(index < count);
  return names.empty() ? prefix + std::to_string(index + 1) : names[index];
}

void SideOfGroup::removeUnnamed() {
  if (std::ranges::find(names, std::string()) == names.end()) return;
  gone.resize(names.size());
  for (std::size_t index = 0; index < names.size(); ++index) gone[index] = gone[index] || names[index].empty();
}

Group numberedGroup(std::uint16_t id, const std::string& name, std::optional<std::uint16_t> sources,
                    std::optional<std::uint16_t> sinks) {
  Group group{id, name, std::nullopt, std::nullopt, {}, id};
  if (sources) group.sources = SideOfGroup{*sources, name + std::string(sideWord(Side::Source)), {}};
  if (sinks) group.sinks = SideOfGroup{*sinks, name + std::string(sideWord(Side::Sink)), {}};
  return group;
}

Topology::Topology(std::vector<Group> groups) : groups_(std::move(groups)) {
  for (std::uint32_t at = 0; at < groups_.size(); ++at) {
    byHandle_.emplace(groups_[at].handle, at);
    if (groups_[at].sources) enter({at, Side::Source});
    if (groups_[at].sinks) enter({at, Side::Sink});
  }
  std::ranges::stable_sort(byName_, {}, &Entry::hash);
  std::ranges::stable_sort(byPrefix_, {}, &Entry::hash);
}

void Topology::enter(SideAt at) {
  const SideOfGroup& ports = sideAt(at);
  if (ports.count == 0) return;
  if (ports.names.empty()) byPrefix_.push_back({hashOf(ports.prefix), at, 0});
  assert(ports.names.empty() || ports.names.size() == ports.count);
  for (std::size_t index = 0; index < ports.names.size(); ++index) {
    const std::string& name = ports.names[index];
    if (!name.empty()) byName_.push_back({hashOf(name), at, static_cast<std::uint16_t>(index)});
  }
}

const Group* Topology::find(std::uint64_t handle) const {
  const auto found = byHandle_.find(handle);
  return found == byHandle_.end() ? nullptr : &groups_[found->second];
}

const SideOfGroup* Topology::sideOf(PortId port) const {
  const Group* group = find(port.group);
  return group != nullptr && group->side(port.side) ? &*group->side(port.side) : nullptr;
}

bool Topology::exists(PortId port) const {
  const SideOfGroup* ports = sideOf(port);
  return ports != nullptr && ports->exists(port.index);
}

bool Topology::knows(PortId port) const {
  const SideOfGroup* ports = sideOf(port);
  return ports != nullptr && port.index < ports->count;
}

std::optional<PortId> Topology::port(std::string_view name) const {
  const auto found = place(name);
  return found && exists(*found) ? found : std::nullopt;
}

std::optional<PortId> Topology::place(std::string_view name) const {
  for (const Entry& named : withHashOf(byName_, name)) {
    if (sideAt(named.at).names[named.index] == name) return portAt(named.at, named.index);
  }
  std::optional<PortId> found;
  anyNumbering(name, [&](std::string_view prefix, std::uint16_t index) {
    for (const Entry& numbered : withHashOf(byPrefix_, prefix)) {
      const SideOfGroup& ports = sideAt(numbered.at);
      if (ports.prefix != prefix || index >= ports.count) continue;
      found = portAt(numbered.at, index);
      break;
    }
    return found.has_value();
  });
  return found;
}

std::span<const Topology::Entry> Topology::withHashOf(const std::vector<Entry>& entries, std::string_view text) {
  const std::size_t hash = hashOf(text);
  const auto first = std::ranges::lower_bound(entries, hash, {}, &Entry::hash);
  const auto last = std::ranges::upper_bound(entries, hash, {}, &Entry::hash);
  return {first, last};
}

std::string Topology::name(PortId port) const {
  if (const SideOfGroup* ports = sideOf(port); ports != nullptr && port.index < ports->count) {
    if (std::string name = ports->nameOf(port.index); !name.empty()) return name;
  }
  const Group* group = find(port.group);
  return missingPortName(group == nullptr ? std::string_view{} : group->name, port,
                         [this](const std::string& taken) { return place(taken).has_value(); });
}

}  // namespace device
