// The clients and ports of another system, as groups and ports of a topology.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/device/names.h"
#include "platform/device/port.h"
#include "platform/device/topology.h"

namespace drivers {

// A port as it is in the other system now.
struct ForeignPort {
  std::uint64_t key = 0;  // unique among the ports that exist now
  std::string name;       // our name is made from it
  std::string original;   // the name that users know from the other system
  bool source = false;    // it emits
  bool sink = false;      // it accepts; a port that does both has a place on each side

  friend bool operator==(const ForeignPort&, const ForeignPort&) = default;
};

// A client as it is in the other system now. A client without ports is not a group yet.
struct ForeignClient {
  std::uint64_t key = 0;  // unique among the clients that exist now
  std::string name;
  std::vector<ForeignPort> ports;

  friend bool operator==(const ForeignClient&, const ForeignClient&) = default;
};

// Makes groups of the clients of another system, and gives their ports indices and names. Handles and indices are given
// in order of appearance, and never reused for another group or port: a client that disconnects and returns under the
// same name gets its handle back, and a port of it that returns under the same name gets its index and name back.
//
// The book remembers the last RememberedClients clients that disconnected. It forgets earlier ones and their names;
// such a client returns as another group. So the book does not grow with the number of clients that it has ever seen.
class PortBook {
 public:
  static constexpr std::size_t RememberedClients = 256;

  // Takes over the clients that exist now, in the order in which they are to appear. Returns true if the topology has
  // changed. A port is left out if there is no index left for it (65,535 have been given on its side of the group).
  bool update(std::span<const ForeignClient> clients);

  // Returns the same object as long as the book lives.
  const device::Topology& topology() const { return topology_; }

  // Returns the place of an existing port; nullopt if it has none on that side.
  std::optional<device::PortId> place(std::uint64_t key, device::Side side) const;

  // Returns the connection between existing ports; nullopt unless one is a source and the other a sink.
  std::optional<device::Link> link(std::uint64_t sourceKey, std::uint64_t sinkKey) const;

  // Returns the key of the port at a place; nullopt if the port no longer exists or never did.
  std::optional<std::uint64_t> key(device::PortId port) const;

 private:
  struct PortSlot {
    std::string foreignName;
    std::string name;
    std::string original;
    std::optional<std::uint64_t> key;  // nullopt: no longer exists
  };
  struct GroupSlot {
    std::string foreignName;
    std::string name;
    std::optional<std::uint64_t> key;              // nullopt: no longer exists
    std::array<std::vector<PortSlot>, 2> sides{};  // by Side
  };
  using Groups = std::map<std::uint64_t, GroupSlot>;  // by handle

  void leave(Groups::value_type& entry);
  GroupSlot* groupFor(const ForeignClient& client);
  void fill(GroupSlot& group, const ForeignClient& client, device::Side side);
  void forgetTheLongestGone();
  void rebuild();

  Groups groups_;
  std::uint64_t nextHandle_ = 0;
  std::unordered_map<std::uint64_t, std::uint64_t> here_;  // handles of connected clients, by key
  std::map<std::uint64_t, std::uint64_t> gone_;            // handles of disconnected clients, oldest first
  std::uint64_t departures_ = 0;
  device::UniqueNames groupNames_{device::MaxGroupNameBytes};
  device::UniqueNames portNames_;
  std::array<std::unordered_map<std::uint64_t, device::PortId>, 2> places_{};  // by Side
  bool changed_ = false;
  device::Topology topology_;
};

}  // namespace drivers
