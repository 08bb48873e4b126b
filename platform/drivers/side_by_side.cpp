#include "platform/drivers/side_by_side.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "platform/drivers/joint_topology.h"
#include "platform/system/descriptor_set.h"

namespace drivers {
namespace {

using Origin = JointTopology::Origin;

class SideBySide : public device::Driver {
 public:
  explicit SideBySide(std::vector<NamedDriver> drivers) : drivers_(std::move(drivers)) {
    for (const auto& [name, driver] : drivers_) joint_.add(driver->topology());
  }

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

  device::Delivery deliver(device::PortId sink, const device::Message& message, device::Time now) override {
    const Origin* origin = joint_.origin(sink.group);
    if (origin == nullptr) return device::Delivery::Taken;
    return driverOf(*origin).deliver(port(*origin, sink), message, now);
  }

  std::optional<device::Status> setUsed(device::PortId source, bool used, device::Time now) override {
    const Origin* known = joint_.origin(source.group);
    const auto before = used_.extract(source);
    if (known == nullptr && !before) return device::Status::Ok;
    const Origin origin = known != nullptr ? *known : before.mapped();
    if (used) used_.emplace(source, origin);
    return driverOf(origin).setUsed(port(origin, source), used, now);
  }

  std::optional<device::Time> advance(device::Time now) override {
    std::optional<device::Time> earliest;
    for (const auto& [name, driver] : drivers_) {
      const auto due = driver->advance(now);
      if (due && (!earliest || *due < *earliest)) earliest = due;
    }
    return earliest;
  }

  bool patch(device::RequestId request, bool made, const device::Link& link, device::Time now) override {
    const Origin* source = joint_.origin(link.sourceGroup);
    const Origin* sink = joint_.origin(link.sinkGroup);
    if (source == nullptr || sink == nullptr || source->device != sink->device) return false;
    return driverOf(*source).patch(request, made, {source->group, link.sourceIndex, sink->group, link.sinkIndex}, now);
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
    void patched(device::RequestId request, device::Status status, device::Time now) override {
      events_.patched(request, status, now);
    }
    void used(device::PortId source, device::Status status, device::Time now) override {
      if (const auto port = all_.joint_.joint(device_, source)) events_.used(*port, status, now);
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
