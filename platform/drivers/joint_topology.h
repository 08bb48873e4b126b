// The topologies of several devices as one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/device/names.h"
#include "platform/device/port.h"
#include "platform/device/topology.h"

namespace drivers {

// Gives the groups of all devices handles of their own, in order of appearance, and groups and ports unique names. A
// group keeps its handle and its names as long as its device has it.
class JointTopology {
 public:
  // A group of one of the devices.
  struct Origin {
    std::size_t device = 0;
    std::uint64_t group = 0;
  };

  // Adds a device, whose number is the number of those added before.
  void add(const device::Topology& topology);

  // Returns the same object as long as this one lives.
  const device::Topology& topology() const { return topology_; }

  // Takes over the changed topology of a device. Returns log lines about what was added.
  std::vector<std::string> update(std::size_t device, const device::Topology& now);

  // Returns the id of the port in the joint topology; nullopt if its group does not exist.
  std::optional<device::PortId> joint(std::size_t device, device::PortId port) const;

  // Returns null if the group does not exist. The pointer is valid until the next change.
  const Origin* origin(std::uint64_t group) const;

 private:
  struct Entry {
    Origin origin;
    device::Group group;  // with its joint names
  };

  std::vector<std::string> enter(std::size_t device, const device::Topology& now);
  std::optional<std::string> enter(std::size_t device, const device::Group& group);
  std::optional<device::SideOfGroup> named(const std::optional<device::SideOfGroup>& side,
                                           const std::optional<device::SideOfGroup>& before);
  void forgetMissing(std::size_t device, const device::Topology& now);
  void rebuild();

  std::map<std::uint64_t, Entry> entries_;                                 // by joint handle
  std::vector<std::unordered_map<std::uint64_t, std::uint64_t>> handles_;  // per device: its handles to joint ones
  std::uint64_t nextHandle_ = 0;
  device::UniqueNames groupNames_{device::MaxGroupNameBytes};
  device::UniqueNames portNames_;
  device::Topology topology_;
};

}  // namespace drivers
