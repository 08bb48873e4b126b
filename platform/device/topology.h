// The groups and port names of a device.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/device/port.h"

namespace device {

// The ports of one group on one side. Their names are the prefix and a number from 1 on, or, where names is not
// empty, those of the list (its size is then the count). So thousands of numbered ports cost no memory each.
//
// Ports of another system can go; they then keep their places and names, and exist no more until they return. A group
// all of whose ports have gone may be forgotten: it is then left out of the topology.
struct SideOfGroup {
  std::uint16_t count = 0;  // with those that have gone
  std::string prefix;
  std::vector<std::string> names;
  std::vector<std::string> originals{};  // what the other system calls the ports; empty, or as many as names
  std::vector<bool> gone{};              // empty when none has gone, else one for each port

  bool hasGone(std::uint16_t index) const { return !gone.empty() && gone[index]; }

  // The name of the port with this index, which must be below count.
  std::string nameOf(std::uint16_t index) const;
};

// One group. A side that is not there is not in that side's list; a side with 0 ports is.
struct Group {
  std::uint64_t handle = 0;  // never another group's, also when this one has been forgotten
  std::string name;
  std::optional<SideOfGroup> sources;
  std::optional<SideOfGroup> sinks;
  std::string original{};                   // what another system calls the group; empty when there is none
  std::optional<std::uint16_t> wantedId{};  // the group id that it is to have in a console, if it matters
  std::size_t system = 0;                   // which of several systems side by side it belongs to

  const std::optional<SideOfGroup>& side(Side which) const { return which == Side::Source ? sources : sinks; }
};

// A group whose ports are called after it: its name, "Out" (sources) or "In" (sinks), and a number from 1 on. id is its
// handle, and what it wants to be in a console. name must be clean and have at most MaxGroupNameBytes bytes; no count:
// the side is not there. Ports of groups with different names then have different names.
Group numberedGroup(std::uint16_t id, const std::string& name, std::optional<std::uint16_t> sources,
                    std::optional<std::uint16_t> sinks);

// All groups of a device, in the device's order. Names are clean and unique (see names.h).
class Topology {
 public:
  Topology() = default;

  // groups: with handles that differ, and port names that differ.
  explicit Topology(std::vector<Group> groups);

  const std::vector<Group>& groups() const { return groups_; }

  // The group with this handle, or null. Lives as long as the topology.
  const Group* find(std::uint64_t handle) const;

  bool exists(PortId port) const;

  // The same, also for a port that has gone and whose place is kept.
  bool knows(PortId port) const;

  // The port of this name on either side; nothing when no port has it.
  std::optional<PortId> port(std::string_view name) const;

  // The same, also for a port that has gone.
  std::optional<PortId> place(std::string_view name) const;

  // The name of a port, also when it has gone; for one that never was, a name in the same style that no port has.
  std::string name(PortId port) const;

 private:
  void enter(const Group& group, Side side);

  std::vector<Group> groups_;
  std::unordered_map<std::uint64_t, std::size_t> byHandle_;
  std::map<std::string, PortId, std::less<>> byPrefix_;  // of sides with numbered ports: their first port
  std::map<std::string, PortId, std::less<>> byName_;    // ports with names of their own
};

}  // namespace device
