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

// Which group name has which id. A name keeps its id, and an id its name, as long as anybody holds the id. So several
// lists of groups, made one after the other or of several services, agree about what an id is called. Thread-safe.
class GroupIds {
 public:
  // Told of each id that gets a name, and of each that has none any more (then it is empty). Called under a lock.
  using Publish = std::function<void(std::uint16_t id, const std::string& name)>;

  explicit GroupIds(Publish publish = nullptr) : publish_(std::move(publish)) {}

  // Gives each group of a topology its id and holds it: the one that the group asks for, if no other name has it; else
  // the one that its name has already, the first of several; else the lowest that is free. Groups that find none are
  // taken out.
  void enter(wire::Topology& topology);

  // The same for a group that has come later. Nothing: no id is free.
  std::optional<std::uint16_t> enter(const wire::TopologyGroup& group);

  // Gives an id back that enter has given.
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

// Those of this process, whose names stand in StrmSrv::GroupNameTable.
GroupIds& groupIdsOfThisProcess();

// Ids that are given back when this goes.
class HeldGroupIds {
 public:
  // ids: lives longer.
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

// The topology with the ids that its groups have in a process that has seen no others.
wire::Topology withGroupIds(wire::Topology topology);

}  // namespace client
