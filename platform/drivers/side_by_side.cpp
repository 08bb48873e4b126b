#include "platform/drivers/side_by_side.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "platform/device/names.h"
#include "platform/system/descriptor_set.h"

namespace drivers {
namespace {

// The most ports that a log line names.
constexpr std::size_t MostPortsInALine = 8;

// A group of one of the devices.
struct Origin {
  std::size_t device = 0;
  std::uint64_t group = 0;
};

bool isThere(const std::optional<device::SideOfGroup>& side, std::uint16_t index) {
  return side && index < side->count && !side->hasGone(index);
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
  std::string line = "group \"" + now.name + (anyPortIsThere(before) ? "\" has more ports: " : "\" has come: ");
  const std::size_t named = std::min(names.size(), MostPortsInALine);
  for (std::size_t at = 0; at < named; ++at) line += (at == 0 ? "\"" : ", \"") + names[at] + '"';
  if (named < names.size()) line += " and " + std::to_string(names.size() - named) + " more";
  return line;
}

// The topologies of several devices as one.
class JointTopology {
 public:
  explicit JointTopology(const std::vector<NamedDriver>& drivers) : handles_(drivers.size()) {
    for (std::size_t device = 0; device < drivers.size(); ++device) enter(device, drivers[device].driver->topology());
    rebuild();
  }

  const device::Topology& topology() const { return topology_; }

  // Takes over the changed topology of a device. Returns log lines about what was added.
  std::vector<std::string> update(std::size_t device, const device::Topology& now) {
    forgetMissing(device, now);
    std::vector<std::string> lines = enter(device, now);
    rebuild();
    return lines;
  }

  // Returns the id of the port in the joint topology; nullopt if its group does not exist.
  std::optional<device::PortId> joint(std::size_t device, device::PortId port) const {
    const auto found = handles_[device].find(port.group);
    if (found == handles_[device].end()) return std::nullopt;
    return device::PortId{found->second, port.index, port.side};
  }

  // Returns null if the group does not exist. The pointer is valid until the next update.
  const Origin* origin(std::uint64_t group) const {
    const auto found = entries_.find(group);
    return found == entries_.end() ? nullptr : &found->second.origin;
  }

 private:
  struct Entry {
    Origin origin;
    device::Group group;  // with its joint names
  };

  std::vector<std::string> enter(std::size_t device, const device::Topology& now) {
    std::vector<std::string> lines;
    for (const device::Group& group : now.groups()) {
      if (const auto line = enter(device, group)) lines.push_back(*line);
    }
    return lines;
  }

  std::optional<std::string> enter(std::size_t device, const device::Group& group) {
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
  std::optional<device::SideOfGroup> named(const std::optional<device::SideOfGroup>& side,
                                           const std::optional<device::SideOfGroup>& before) {
    if (!side) return std::nullopt;
    device::SideOfGroup entered = *side;
    entered.names = before ? before->names : std::vector<std::string>();
    for (auto index = static_cast<std::uint16_t>(entered.names.size()); index < side->count; ++index) {
      entered.names.push_back(portNames_.add(side->nameOf(index)));
    }
    return entered;
  }

  void forgetMissing(std::size_t device, const device::Topology& now) {
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

  void rebuild() {
    std::vector<device::Group> groups;
    groups.reserve(entries_.size());
    for (const auto& [handle, entry] : entries_) groups.push_back(entry.group);
    topology_ = device::Topology(std::move(groups));
  }

  std::map<std::uint64_t, Entry> entries_;                                 // by joint handle
  std::vector<std::unordered_map<std::uint64_t, std::uint64_t>> handles_;  // per device: its handles to joint ones
  std::uint64_t nextHandle_ = 0;
  device::UniqueNames groupNames_{device::MaxGroupNameBytes};
  device::UniqueNames portNames_;
  device::Topology topology_;
};

class SideBySide : public device::Driver {
 public:
  explicit SideBySide(std::vector<NamedDriver> drivers) : drivers_(std::move(drivers)), joint_(drivers_) {}

  const device::Topology& topology() const override { return joint_.topology(); }

  device::Started start(device::DriverEvents& events, device::Time now) override {
    device::Started all;
    for (std::size_t device = 0; device < drivers_.size(); ++device) {
      members_.push_back(std::make_unique<Member>(*this, device, events));
      const device::Started one = drivers_[device].driver->start(*members_.back(), now);
      for (const device::Link& link : one.links) {
        if (const auto entered = jointLink(device, link)) all.links.push_back(*entered);
      }
      if (one.descriptor < 0) continue;
      readable_.add(one.descriptor);
      all.descriptor = readable_.descriptor();
    }
    return all;
  }

  void deliver(device::PortId sink, const device::Message& message, device::Time now) override {
    if (const Origin* origin = joint_.origin(sink.group)) driverOf(*origin).deliver(port(*origin, sink), message, now);
  }

  void setUsed(device::PortId source, bool used, device::Time now) override {
    const Origin* known = joint_.origin(source.group);
    const auto before = used_.extract(source);
    if (known == nullptr && !before) return;
    const Origin origin = known != nullptr ? *known : before.mapped();
    if (used) used_.emplace(source, origin);
    driverOf(origin).setUsed(port(origin, source), used, now);
  }

  std::optional<device::Time> advance(device::Time now) override {
    std::optional<device::Time> earliest;
    for (const auto& [name, driver] : drivers_) {
      const auto due = driver->advance(now);
      if (due && (!earliest || *due < *earliest)) earliest = due;
    }
    return earliest;
  }

  std::optional<device::Status> patch(bool made, const device::Link& link, device::Time now) override {
    const Origin* source = joint_.origin(link.sourceGroup);
    const Origin* sink = joint_.origin(link.sinkGroup);
    if (source == nullptr || sink == nullptr || source->device != sink->device) return std::nullopt;
    return driverOf(*source).patch(made, {source->group, link.sourceIndex, sink->group, link.sinkIndex}, now);
  }

  bool behind() const override {
    return std::ranges::any_of(drivers_, [](const NamedDriver& one) { return one.driver->behind(); });
  }

  void finish(device::Time now) override {
    for (const auto& [name, driver] : drivers_) driver->finish(now);
  }

 private:
  // Passes on the events of one device as those of the joint device.
  class Member : public device::DriverEvents {
   public:
    Member(SideBySide& all, std::size_t device, device::DriverEvents& events)
        : all_(all), device_(device), events_(events) {}

    void emitted(device::PortId source, const device::Message& message, device::Time now) override {
      if (const auto port = all_.joint_.joint(device_, source)) events_.emitted(*port, message, now);
    }
    void linked(const device::Link& link, device::Time now) override {
      if (const auto entered = all_.jointLink(device_, link)) events_.linked(*entered, now);
    }
    void unlinked(const device::Link& link, device::Time now) override {
      if (const auto entered = all_.jointLink(device_, link)) events_.unlinked(*entered, now);
    }
    void topologyChanged(device::Time now) override {
      const auto lines = all_.joint_.update(device_, all_.drivers_[device_].driver->topology());
      for (const std::string& line : lines) noted(line);
      events_.topologyChanged(now);
    }
    void lost(device::PortId source, std::uint64_t count, device::Time now) override {
      if (const auto port = all_.joint_.joint(device_, source)) events_.lost(*port, count, now);
    }
    void noted(std::string_view line) override { events_.noted(named(line)); }
    void warned(std::string_view line) override { events_.warned(named(line)); }

   private:
    std::string named(std::string_view line) const { return all_.drivers_[device_].name + ": " + std::string(line); }

    SideBySide& all_;
    std::size_t device_;
    device::DriverEvents& events_;
  };

  static device::PortId port(const Origin& origin, device::PortId joint) {
    return {origin.group, joint.index, joint.side};
  }

  device::Driver& driverOf(const Origin& origin) const { return *drivers_[origin.device].driver; }

  std::optional<device::Link> jointLink(std::size_t device, const device::Link& link) const {
    const auto source = joint_.joint(device, link.source());
    const auto sink = joint_.joint(device, link.sink());
    if (!source || !sink) return std::nullopt;
    return device::Link{source->group, source->index, sink->group, sink->index};
  }

  std::vector<std::unique_ptr<Member>> members_;  // destroyed after the drivers, which call them
  std::vector<NamedDriver> drivers_;
  sys::DescriptorSet readable_;  // while any descriptor of a driver is
  JointTopology joint_;
  std::map<device::PortId, Origin> used_;  // a device that has removed a source must still be told that it is unused
};

}  // namespace

std::unique_ptr<device::Driver> makeSideBySide(std::vector<NamedDriver> drivers) {
  return std::make_unique<SideBySide>(std::move(drivers));
}

}  // namespace drivers
