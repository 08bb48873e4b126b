// The groups and port names of a device.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/device/port.h"

namespace device {

// The ports of one group on one side. If names is empty, a port's name is the prefix and a number from 1 on; otherwise
// names lists them, and its size is count. So thousands of numbered ports use no memory each.
//
// Ports of another system can be removed. They keep their places and names, but do not exist until they return. A group
// may be dropped from the topology when all its ports are removed.
struct SideOfGroup {
  std::uint16_t count = 0;  // including removed ports
  std::string prefix;
  std::vector<std::string> names;
  std::vector<std::string> originals{};  // names in the other system; empty, or as many as names
  std::vector<bool> gone{};              // empty if all ports exist, else one flag for each port

  // index must be below count.
  bool hasGone(std::uint16_t index) const { return !gone.empty() && gone[index]; }
  bool exists(std::uint16_t index) const { return index < count && !hasGone(index); }

  // True if there are ports and all are removed.
  bool allGone() const;

  // Returns the name of the port with this index, which must be below count. Empty if it is not known, which only
  // happens for a removed port of another process.
  std::string nameOf(std::uint16_t index) const;

  // Marks the ports with empty names as removed.
  void removeUnnamed();

  friend bool operator==(const SideOfGroup&, const SideOfGroup&) = default;
};

// One group. A missing side does not appear in that side's list; a side with 0 ports does.
struct Group {
  std::uint64_t handle = 0;  // never reused, even after the group was dropped
  std::string name;
  std::optional<SideOfGroup> sources;
  std::optional<SideOfGroup> sinks;
  std::string original{};                   // the group's name in another system; empty if there is none
  std::optional<std::uint16_t> wantedId{};  // the group id that it should have in a console, if any
  std::size_t system = 0;                   // which of several systems side by side it belongs to

  const std::optional<SideOfGroup>& side(Side which) const { return which == Side::Source ? sources : sinks; }

  friend bool operator==(const Group&, const Group&) = default;
};

// Makes a group with numbered ports: the group's name, "Out" (sources) or "In" (sinks), and a number from 1 on. id
// becomes both the handle and wantedId. name must be clean and have at most MaxGroupNameBytes bytes. A count of
// nullopt: the side is missing. Ports of groups with different names have different names.
Group numberedGroup(std::uint16_t id, const std::string& name, std::optional<std::uint16_t> sources,
                    std::optional<std::uint16_t> sinks);

// All groups of a device, in the device's order. Names are clean and unique (see names.h).
class Topology {
 public:
  Topology() = default;

  // groups: handles and port names should be unique. Of several equal ones, which only another process may send, one is
  // found.
  explicit Topology(std::vector<Group> groups);

  const std::vector<Group>& groups() const { return groups_; }

  // Returns the group with this handle, or null. Valid as long as the topology.
  const Group* find(std::uint64_t handle) const;

  bool exists(PortId port) const;

  // True for a port that exists, and for a removed port whose place is kept.
  bool knows(PortId port) const;

  // Returns the port with this name on either side; nullopt if there is none.
  std::optional<PortId> port(std::string_view name) const;

  // Like port, but also finds removed ports.
  std::optional<PortId> place(std::string_view name) const;

  // Returns the name of a port, also of a removed one whose name is known. For any other port, returns a name in the
  // same style that no port has.
  std::string name(PortId port) const;

 private:
  struct SideAt {
    std::uint32_t group = 0;  // its position in groups_
    Side side = Side::Source;
  };
  struct Entry {
    std::size_t hash = 0;
    SideAt at;
    std::uint16_t index = 0;
  };

  void enter(SideAt at);
  static std::span<const Entry> withHashOf(const std::vector<Entry>& entries, std::string_view text);
  const SideOfGroup* sideOf(PortId port) const;
  const SideOfGroup& sideAt(SideAt at) const { return *groups_[at.group].side(at.side); }
  PortId portAt(SideAt at, std::uint16_t index) const { return {groups_[at.group].handle, index, at.side}; }

  std::vector<Group> groups_;
  std::unordered_map<std::uint64_t, std::uint32_t> byHandle_;  // to the position in groups_
  // Sorted by hash, without copies of the texts: a device may have thousands of names.
  std::vector<Entry> byName_;    // ports with listed names
  std::vector<Entry> byPrefix_;  // the first port of each side with numbered ports
};

}  // namespace device
