// The group ids by which a process knows groups.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/wire/messages.h"

namespace client {

// Assigns group ids to group names. A name keeps its id, and an id its name, while anybody holds the id. So all lists
// of groups in a process use the same names for the same ids, also lists of several services. Thread-safe.
class GroupIds {
 public:
  // Called for each id that gets a name; called with an empty name for each id that loses its name. Called under a
  // lock.
  using Publish = std::function<void(std::uint16_t id, const std::string& name)>;

  explicit GroupIds(Publish publish = nullptr) : publish_(std::move(publish)) {}

  // Assigns an id to each group of a topology and holds it. A group gets the id that it asks for, unless another name
  // has that; else the first id that its name has already; else the lowest free id. Groups for which no id is free are
  // removed from the topology.
  void enter(wire::Topology& topology);

  // The same for a group that has come later. Returns nullopt when no id is free.
  std::optional<std::uint16_t> enter(const wire::TopologyGroup& group);

  // Gives back an id that enter has assigned.
  void leave(std::uint16_t id);

 private:
  struct Entry {
    std::string name;
    std::size_t holders = 0;
  };

  bool isFree(std::uint16_t id, std::string_view name) const;
  void hold(std::uint16_t id, const std::string& name);
  std::optional<std::uint16_t> lowestFree(std::uint32_t& from) const;

  std::mutex mutex_;
  Publish publish_;
  std::map<std::uint16_t, Entry> entries_;                              // those that are held
  std::unordered_map<std::string, std::vector<std::uint16_t>> byName_;  // in the order of giving
};

// The ids of this process, whose names stand in StrmSrv::GroupNameTable.
GroupIds& groupIdsOfThisProcess();

// Gives its ids back when it is destroyed.
class HeldGroupIds {
 public:
  // ids must outlive this object.
  explicit HeldGroupIds(GroupIds& ids) : ids_(ids) {}
  HeldGroupIds(const HeldGroupIds&) = delete;
  HeldGroupIds& operator=(const HeldGroupIds&) = delete;
  ~HeldGroupIds() {
    for (const std::uint16_t id : held_) ids_.leave(id);
  }

  // See GroupIds.
  void enter(wire::Topology& topology) {
    ids_.enter(topology);
    for (const wire::TopologyGroup& group : topology.groups) held_.push_back(*group.id);
  }
  std::optional<std::uint16_t> enter(const wire::TopologyGroup& group) {
    const auto id = ids_.enter(group);
    if (id) held_.push_back(*id);
    return id;
  }

 private:
  GroupIds& ids_;
  std::vector<std::uint16_t> held_;
};

// Returns the topology with the ids that its groups get in a process that has seen no other topology.
wire::Topology withGroupIds(wire::Topology topology);

}  // namespace client
