#include "platform/drivers/side_by_side.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <map>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "platform/drivers/names.h"

namespace service {
namespace {

constexpr std::size_t MaxGroups = std::numeric_limits<std::uint16_t>::max() + std::size_t{1};

// A port or a group of one of the devices.
struct Origin {
  std::size_t device = 0;
  std::uint16_t group = 0;
};

// The topologies of several devices as one.
class JointTopology {
 public:
  const Topology& topology() const { return topology_; }

  void update(const std::vector<NamedDriver>& drivers) {
    groupIds_.resize(drivers.size());
    groups_.resize(origins_.size());
    for (std::size_t device = 0; device < drivers.size(); ++device) {
      for (const Group& group : drivers[device].driver->topology().groups()) enter(device, group);
    }
    topology_ = Topology(groups_);
  }

  // The port of a device in the joint topology; nothing when it found no id there.
  std::optional<PortId> joint(std::size_t device, PortId port) const {
    const auto found = groupIds_[device].find(port.group);
    if (found == groupIds_[device].end()) return std::nullopt;
    return PortId{found->second, port.index, port.side};
  }

  const Origin* origin(std::uint16_t group) const { return group < origins_.size() ? &origins_[group] : nullptr; }

 private:
  void enter(std::size_t device, const Group& group) {
    const auto known = groupIds_[device].find(group.id);
    if (known == groupIds_[device].end()) {
      if (origins_.size() == MaxGroups) return;
      const auto id = static_cast<std::uint16_t>(origins_.size());
      groupIds_[device].emplace(group.id, id);
      origins_.push_back({device, group.id});
      groups_.push_back({id, groupNames_.add(group.name), std::nullopt, std::nullopt});
    }
    Group& entered = groups_[groupIds_[device].at(group.id)];
    entered.original = group.original;
    entered.sources = named(group.sources, {entered.id, 0, Side::Source});
    entered.sinks = named(group.sinks, {entered.id, 0, Side::Sink});
  }

  std::optional<SideOfGroup> named(const std::optional<SideOfGroup>& side, PortId port) {
    if (!side) return std::nullopt;
    SideOfGroup entered = *side;
    entered.names.clear();
    for (; port.index < side->count; ++port.index) {
      const auto [known, isNew] = portNames_.try_emplace(port);
      if (isNew) known->second = uniquePortNames_.add(side->nameOf(port.index));
      entered.names.push_back(known->second);
    }
    return entered;
  }

  std::vector<Origin> origins_;                                             // by joint group id
  std::vector<std::unordered_map<std::uint16_t, std::uint16_t>> groupIds_;  // of each device
  std::vector<Group> groups_;
  std::map<PortId, std::string> portNames_;
  UniqueNames groupNames_{MaxGroupNameBytes};
  UniqueNames uniquePortNames_;
  Topology topology_;
};

// Readable when any of the drivers' descriptors is.
class AnyReadable {
 public:
  explicit AnyReadable(const std::vector<NamedDriver>& drivers) {
    for (const auto& [name, driver] : drivers) {
      if (driver->descriptor() >= 0) add(driver->descriptor());
    }
  }
  AnyReadable(const AnyReadable&) = delete;
  AnyReadable& operator=(const AnyReadable&) = delete;
  ~AnyReadable() {
    if (descriptor_ >= 0) close(descriptor_);
  }

  int descriptor() const { return descriptor_; }

 private:
  void add(int descriptor) {
    if (descriptor_ < 0) descriptor_ = epoll_create1(EPOLL_CLOEXEC);
    epoll_event readable{.events = EPOLLIN, .data = {}};
    if (descriptor_ >= 0 && epoll_ctl(descriptor_, EPOLL_CTL_ADD, descriptor, &readable) == 0) return;
    throw std::system_error(errno, std::generic_category(), "epoll");
  }

  int descriptor_ = -1;
};

class SideBySide : public Driver {
 public:
  explicit SideBySide(std::vector<NamedDriver> drivers) : drivers_(std::move(drivers)), readable_(drivers_) {
    joint_.update(drivers_);
    for (std::size_t device = 0; device < drivers_.size(); ++device) {
      for (const Link& link : drivers_[device].driver->initialLinks()) {
        if (const auto entered = jointLink(device, link)) links_.push_back(*entered);
      }
    }
  }

  const Topology& topology() const override { return joint_.topology(); }

  const std::vector<Link>& initialLinks() const override { return links_; }

  void start(DriverEvents& events, Time now) override {
    for (std::size_t device = 0; device < drivers_.size(); ++device) {
      members_.push_back(std::make_unique<Member>(*this, device, events));
      drivers_[device].driver->start(*members_.back(), now);
    }
  }

  void deliver(PortId sink, const Message& message, Time now) override {
    if (const Origin* origin = joint_.origin(sink.group)) driverOf(*origin).deliver(port(*origin, sink), message, now);
  }

  void setUsed(PortId source, bool used, Time now) override {
    if (const Origin* origin = joint_.origin(source.group)) driverOf(*origin).setUsed(port(*origin, source), used, now);
  }

  std::optional<Time> advance(Time now) override {
    std::optional<Time> earliest;
    for (const auto& [name, driver] : drivers_) {
      const auto due = driver->advance(now);
      if (due && (!earliest || *due < *earliest)) earliest = due;
    }
    return earliest;
  }

  void finish(Time now) override {
    for (const auto& [name, driver] : drivers_) driver->finish(now);
  }

  std::optional<wire::Status> patch(bool made, const Link& link, Time now) override {
    const Origin* source = joint_.origin(link.sourceGroup);
    const Origin* sink = joint_.origin(link.sinkGroup);
    if (source == nullptr || sink == nullptr || source->device != sink->device) return std::nullopt;
    return driverOf(*source).patch(made, {source->group, link.sourceIndex, sink->group, link.sinkIndex}, now);
  }

  int descriptor() const override { return readable_.descriptor(); }

  bool behind() const override {
    return std::ranges::any_of(drivers_, [](const NamedDriver& one) { return one.driver->behind(); });
  }

 private:
  // What one of the devices tells, in the words of the joint one.
  class Member : public DriverEvents {
   public:
    Member(SideBySide& all, std::size_t device, DriverEvents& events) : all_(all), device_(device), events_(events) {}

    void emitted(PortId source, const Message& message, Time now) override {
      if (const auto port = all_.joint_.joint(device_, source)) events_.emitted(*port, message, now);
    }
    void linked(const Link& link, Time now) override {
      if (const auto entered = all_.jointLink(device_, link)) events_.linked(*entered, now);
    }
    void unlinked(const Link& link, Time now) override {
      if (const auto entered = all_.jointLink(device_, link)) events_.unlinked(*entered, now);
    }
    void topologyChanged(Time now) override {
      all_.joint_.update(all_.drivers_);
      events_.topologyChanged(now);
    }
    void lost(PortId source, std::uint64_t count, Time now) override {
      if (const auto port = all_.joint_.joint(device_, source)) events_.lost(*port, count, now);
    }
    void noted(std::string_view line) override { events_.noted(named(line)); }
    void warned(std::string_view line) override { events_.warned(named(line)); }

   private:
    std::string named(std::string_view line) const { return all_.drivers_[device_].name + ": " + std::string(line); }

    SideBySide& all_;
    std::size_t device_;
    DriverEvents& events_;
  };

  static PortId port(const Origin& origin, PortId joint) { return {origin.group, joint.index, joint.side}; }

  Driver& driverOf(const Origin& origin) const { return *drivers_[origin.device].driver; }

  std::optional<Link> jointLink(std::size_t device, const Link& link) const {
    const auto source = joint_.joint(device, link.source());
    const auto sink = joint_.joint(device, link.sink());
    if (!source || !sink) return std::nullopt;
    return Link{source->group, source->index, sink->group, sink->index};
  }

  std::vector<std::unique_ptr<Member>> members_;  // destroyed after the drivers, which speak to them
  std::vector<NamedDriver> drivers_;
  AnyReadable readable_;
  JointTopology joint_;
  std::vector<Link> links_;
};

}  // namespace

std::unique_ptr<Driver> makeSideBySide(std::vector<NamedDriver> drivers) {
  return std::make_unique<SideBySide>(std::move(drivers));
}

}  // namespace service
