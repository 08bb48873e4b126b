#include "platform/drivers/joint_topology.h"

#include <algorithm>
#include <utility>

namespace drivers {
namespace {

// The most ports that a log line names.
constexpr std::size_t MostPortsInALine = 8;

bool isThere(const std::optional<device::SideOfGroup>& side, std::uint16_t index) {
  return side && side->exists(index);
}

// Returns the names of the ports that exist now and did not exist before.
std::vector<std::string> newPorts(const device::Group& before, const device::Group& now) {
  std::vector<std::string> names;
  for (const device::Side which : {device::Side::Source, device::Side::Sink}) {
    const auto& side = now.side(which);
    for (std::uint16_t index = 0; side && index < side->count; ++index) {
      if (isThere(side, index) && !isThere(before.side(which), index)) names.push_back(side->nameOf(index));
    }
  }
  return names;
}

bool anyPortIsThere(const device::Group& group) { return !newPorts({}, group).empty(); }

// Returns the log line for a group or ports that were added; nullopt if none were.
std::optional<std::string> arrivalLine(const device::Group& before, const device::Group& now) {
  const auto names = newPorts(before, now);
  if (names.empty()) return std::nullopt;
  std::string line = "group \"" + now.name + (anyPortIsThere(before) ? "\" has new ports: " : "\" was added: ");
  const std::size_t named = std::min(names.size(), MostPortsInALine);
  for (std::size_t at = 0; at < named; ++at) line += (at == 0 ? "\"" : ", \"") + names[at] + '"';
  if (named < names.size()) line += " and " + std::to_string(names.size() - named) + " more";
  return line;
}

}  // namespace

void JointTopology::add(const device::Topology& topology) {
  handles_.emplace_back();
  enter(handles_.size() - 1, topology);
  rebuild();
}

std::vector<std::string> JointTopology::update(std::size_t device, const device::Topology& now) {
  forgetMissing(device, now);
  std::vector<std::string> lines = enter(device, now);
  rebuild();
  return lines;
}

std::optional<device::PortId> JointTopology::joint(std::size_t device, device::PortId port) const {
  const auto found = handles_[device].find(port.group);
  if (found == handles_[device].end()) return std::nullopt;
  return device::PortId{found->second, port.index, port.side};
}

const JointTopology::Origin* JointTopology::origin(std::uint64_t group) const {
  const auto found = entries_.find(group);
  return found == entries_.end() ? nullptr : &found->second.origin;
}

std::vector<std::string> JointTopology::enter(std::size_t device, const device::Topology& now) {
  std::vector<std::string> lines;
  for (const device::Group& group : now.groups()) {
    if (const auto line = enter(device, group)) lines.push_back(*line);
  }
  return lines;
}

std::optional<std::string> JointTopology::enter(std::size_t device, const device::Group& group) {
  const auto [handle, isNew] = handles_[device].try_emplace(group.handle, nextHandle_);
  if (isNew) {
    Entry& entry = entries_[nextHandle_];
    entry.origin = {device, group.handle};
    entry.group = {nextHandle_, groupNames_.add(group.name), std::nullopt, std::nullopt, {}, group.wantedId, device};
    ++nextHandle_;
  }
  device::Group& entered = entries_.at(handle->second).group;
  const device::Group before = entered;
  entered.original = group.original;
  entered.sources = named(group.sources, before.sources);
  entered.sinks = named(group.sinks, before.sinks);
  return arrivalLine(before, entered);
}

// A port that existed before keeps its name.
std::optional<device::SideOfGroup> JointTopology::named(const std::optional<device::SideOfGroup>& side,
                                                        const std::optional<device::SideOfGroup>& before) {
  if (!side) return std::nullopt;
  device::SideOfGroup entered = *side;
  entered.names = before ? before->names : std::vector<std::string>();
  for (auto index = static_cast<std::uint16_t>(entered.names.size()); index < side->count; ++index) {
    entered.names.push_back(portNames_.add(side->nameOf(index)));
  }
  return entered;
}

void JointTopology::forgetMissing(std::size_t device, const device::Topology& now) {
  std::erase_if(handles_[device], [&](const auto& handle) {
    if (now.find(handle.first) != nullptr) return false;
    const auto forgotten = entries_.find(handle.second);
    const device::Group& group = forgotten->second.group;
    for (const auto* side : {&group.sources, &group.sinks}) {
      if (!*side) continue;
      for (const std::string& name : (*side)->names) portNames_.remove(name);
    }
    groupNames_.remove(group.name);
    entries_.erase(forgotten);
    return true;
  });
}

void JointTopology::rebuild() {
  std::vector<device::Group> groups;
  groups.reserve(entries_.size());
  for (const auto& [handle, entry] : entries_) groups.push_back(entry.group);
  topology_ = device::Topology(std::move(groups));
}

}  // namespace drivers
