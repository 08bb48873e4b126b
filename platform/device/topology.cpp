#include "platform/device/topology.h"

#include <cassert>
#include <utility>

#include "platform/device/port_name.h"

namespace device {
namespace {

constexpr std::size_t MaxPortDigits = 5;

const char* sideWord(Side side) { return side == Side::Source ? "Out" : "In"; }

}  // namespace

std::string SideOfGroup::nameOf(std::uint16_t index) const {
  assert(index < count);
  return names.empty() ? prefix + std::to_string(index + 1) : names[index];
}

Group numberedGroup(std::uint16_t id, const std::string& name, std::optional<std::uint16_t> sources,
                    std::optional<std::uint16_t> sinks) {
  Group group{id, name, std::nullopt, std::nullopt, {}, id};
  if (sources) group.sources = SideOfGroup{*sources, name + sideWord(Side::Source), {}};
  if (sinks) group.sinks = SideOfGroup{*sinks, name + sideWord(Side::Sink), {}};
  return group;
}

Topology::Topology(std::vector<Group> groups) : groups_(std::move(groups)) {
  for (std::size_t at = 0; at < groups_.size(); ++at) {
    byHandle_.emplace(groups_[at].handle, at);
    enter(groups_[at], Side::Source);
    enter(groups_[at], Side::Sink);
  }
}

void Topology::enter(const Group& group, Side side) {
  const auto& ports = group.side(side);
  if (!ports || ports->count == 0) return;
  if (ports->names.empty()) byPrefix_.emplace(ports->prefix, PortId{group.handle, 0, side});
  assert(ports->names.empty() || ports->names.size() == ports->count);
  for (std::size_t index = 0; index < ports->names.size(); ++index) {
    byName_.emplace(ports->names[index], PortId{group.handle, static_cast<std::uint16_t>(index), side});
  }
}

const Group* Topology::find(std::uint64_t handle) const {
  const auto found = byHandle_.find(handle);
  return found == byHandle_.end() ? nullptr : &groups_[found->second];
}

bool Topology::exists(PortId port) const {
  return knows(port) && !find(port.group)->side(port.side)->hasGone(port.index);
}

bool Topology::knows(PortId port) const {
  const Group* group = find(port.group);
  if (group == nullptr) return false;
  const auto& ports = group->side(port.side);
  return ports && port.index < ports->count;
}

std::optional<PortId> Topology::port(std::string_view name) const {
  const auto found = place(name);
  return found && exists(*found) ? found : std::nullopt;
}

std::optional<PortId> Topology::place(std::string_view name) const {
  if (const auto named = byName_.find(name); named != byName_.end()) return named->second;
  for (std::size_t digits = 1; digits <= MaxPortDigits && digits < name.size(); ++digits) {
    const std::size_t prefixSize = name.size() - digits;
    const auto numbered = byPrefix_.find(name.substr(0, prefixSize));
    if (numbered == byPrefix_.end()) continue;
    const auto index = indexOfNumber(name.substr(prefixSize));
    if (!index) continue;
    PortId port = numbered->second;
    port.index = *index;
    if (port.index < find(port.group)->side(port.side)->count) return port;
  }
  return std::nullopt;
}

std::string Topology::name(PortId port) const {
  const Group* group = find(port.group);
  const SideOfGroup* ports = group != nullptr && group->side(port.side) ? &*group->side(port.side) : nullptr;
  if (ports != nullptr && port.index < ports->count) return ports->nameOf(port.index);
  return missingPortName(group == nullptr ? std::string_view{} : group->name, port.group, port.side == Side::Sink,
                         port.index, [this](const std::string& taken) { return place(taken).has_value(); });
}

}  // namespace device
