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

// A port as it stands in the other system now.
struct ForeignPort {
  std::uint64_t key = 0;  // differs from every other port that is there now
  std::string name;       // from which ours is made
  std::string original;   // what people know it by in the other system
  bool source = false;    // it emits
  bool sink = false;      // it accepts; a port that does both has a place on both sides

  friend bool operator==(const ForeignPort&, const ForeignPort&) = default;
};

// A client as it stands in the other system now. One without ports is no group yet.
struct ForeignClient {
  std::uint64_t key = 0;  // differs from every other client that is there now
  std::string name;
  std::vector<ForeignPort> ports;

  friend bool operator==(const ForeignClient&, const ForeignClient&) = default;
};

// Makes groups of the clients of another system, and gives their ports indices and names. Handles and indices are given
// in the order of appearance, and never to another group or port: a client that goes and comes back under the same name
// has its handle again, a port of it that comes back under the same name its index and its own name.
//
// Of the clients that have gone, the last RememberedClients are remembered. One that went before them is forgotten with
// its names: it comes back as another group. So a book is no larger for all the clients that it has ever seen.
class PortBook {
 public:
  static constexpr std::size_t RememberedClients = 256;

  // What is there now, in the order in which it is to appear. Answers whether the topology has changed. A port that
  // finds no index any more (65,535 have been given on its side of the group) is left out.
  bool update(std::span<const ForeignClient> clients);

  // The same object as long as the book lives.
  const device::Topology& topology() const { return topology_; }

  // The place of a port that is there; nothing when it has none on that side.
  std::optional<device::PortId> place(std::uint64_t key, device::Side side) const;

  // The key of the port that is at a place; nothing when it has gone or never was.
  std::optional<std::uint64_t> key(device::PortId port) const;

 private:
  struct PortSlot {
    std::string foreignName;
    std::string name;
    std::string original;
    std::optional<std::uint64_t> key;  // nothing: gone
  };
  struct GroupSlot {
    std::string foreignName;
    std::string name;
    std::optional<std::uint64_t> key;              // nothing: gone
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
  std::unordered_map<std::uint64_t, std::uint64_t> here_;  // handles of those that are there, by key
  std::map<std::uint64_t, std::uint64_t> gone_;            // handles of those that have gone, in the order of going
  std::uint64_t departures_ = 0;
  device::UniqueNames groupNames_{device::MaxGroupNameBytes};
  device::UniqueNames portNames_;
  std::array<std::unordered_map<std::uint64_t, device::PortId>, 2> places_{};  // by Side
  bool changed_ = false;
  device::Topology topology_;
};

}  // namespace drivers
