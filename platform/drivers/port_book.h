// The clients and ports of another system, as groups and ports of a topology.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/drivers/names.h"
#include "platform/drivers/port.h"
#include "platform/drivers/topology.h"

namespace service {

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

// Gives the clients of another system group ids, and their ports indices and names. Ids and indices are given in the
// order of appearance, and are kept for good: a client that goes and comes back under the same name has its id again,
// a port of it that comes back under the same name its index and its own name.
class PortBook {
 public:
  // What is there now, in the order in which it is to appear. Answers whether the topology has changed. What finds no
  // id or index any more (65,536 have been given) is left out.
  bool update(std::span<const ForeignClient> clients);

  // The same object as long as the book lives.
  const Topology& topology() const { return topology_; }

  // The place of a port that is there; nothing when it has none on that side.
  std::optional<PortId> place(std::uint64_t key, Side side) const;

  // The key of the port that is at a place; nothing when it has gone or never was.
  std::optional<std::uint64_t> key(PortId port) const;

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

  GroupSlot* groupFor(const ForeignClient& client);
  void fill(GroupSlot& group, const ForeignClient& client, Side side);
  void rebuild();

  std::vector<GroupSlot> groups_;  // by id
  UniqueNames groupNames_{MaxGroupNameBytes};
  UniqueNames portNames_;
  std::array<std::unordered_map<std::uint64_t, PortId>, 2> places_{};  // by Side
  bool changed_ = false;
  Topology topology_;
};

}  // namespace service
