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

#include "platform/device/topology.h"

namespace channel {

// Maps group names to ids. While anybody holds an id, the id keeps its name and the name keeps its id. So several lists
// of groups, made one after the other or from several services, agree on the name of an id. Thread-safe.
class GroupIds {
 public:
  // Called for each id that gets a name, and for each id that no longer has one (with an empty name). Runs under a
  // lock.
  using Publish = std::function<void(std::uint16_t id, const std::string& name)>;

  explicit GroupIds(Publish publish = nullptr) : publish_(std::move(publish)) {}

  // Gives each group of a device its id and holds it: the id that the group asks for, if no other name has it; else
  // the id that its name already has, the first of several; else the lowest free id. Afterwards wantedId is this id.
  // Groups for which no id is free are removed.
  void enter(std::vector<device::Group>& groups);

  // The same for a group that was added later. Returns nullopt if no id is free.
  std::optional<std::uint16_t> enter(const device::Group& group);

  // Releases an id that enter has given.
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
  std::map<std::uint16_t, Entry> entries_;                              // the held ids
  std::unordered_map<std::string, std::vector<std::uint16_t>> byName_;  // in the order in which they were given
};

// Ids that are released on destruction.
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
  void enter(std::vector<device::Group>& groups) {
    ids_.enter(groups);
    for (const device::Group& group : groups) held_.push_back(*group.wantedId);
  }
  std::optional<std::uint16_t> enter(const device::Group& group) {
    const auto id = ids_.enter(group);
    if (id) held_.push_back(*id);
    return id;
  }

 private:
  GroupIds& ids_;
  std::vector<std::uint16_t> held_;
};

// The groups with the ids that they have in a process that knows no other groups.
std::vector<device::Group> withGroupIds(std::vector<device::Group> groups);

}  // namespace channel
