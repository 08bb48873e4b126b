#include "platform/channel/group_ids.h"

#include <limits>
#include <unordered_set>

namespace channel {
namespace {

constexpr std::uint32_t MaxIds = std::numeric_limits<std::uint16_t>::max() + 1U;

}  // namespace

void GroupIds::enter(std::vector<device::Group>& groups) {
  const std::lock_guard guard(mutex_);
  // First the groups that ask for an id: no other group of this topology may get it.
  std::unordered_set<std::uint16_t> given;
  for (device::Group& group : groups) {
    if (group.wantedId && (!isFree(*group.wantedId, group.name) || !given.insert(*group.wantedId).second))
      group.wantedId.reset();
  }
  for (device::Group& group : groups) {
    if (group.wantedId) continue;
    const auto known = byName_.find(group.name);
    if (known != byName_.end() && given.insert(known->second.front()).second) group.wantedId = known->second.front();
  }
  std::uint32_t from = 0;
  for (device::Group& group : groups) {
    while (!group.wantedId) {
      const auto id = lowestFree(from);
      if (!id) break;
      if (given.insert(*id).second) group.wantedId = id;
    }
  }
  std::erase_if(groups, [](const device::Group& group) { return !group.wantedId; });
  for (const device::Group& group : groups) hold(*group.wantedId, group.name);
}

std::optional<std::uint16_t> GroupIds::enter(const device::Group& group) {
  std::vector<device::Group> one{group};
  enter(one);
  return one.empty() ? std::nullopt : one.front().wantedId;
}

void GroupIds::leave(std::uint16_t id) {
  const std::lock_guard guard(mutex_);
  const auto found = entries_.find(id);
  if (found == entries_.end() || --found->second.holders > 0) return;
  const auto named = byName_.find(found->second.name);
  std::erase(named->second, id);
  if (named->second.empty()) byName_.erase(named);
  entries_.erase(found);
  if (publish_) publish_(id, {});
}

bool GroupIds::isFree(std::uint16_t id, std::string_view name) const {
  const auto found = entries_.find(id);
  return found == entries_.end() || found->second.name == name;
}

void GroupIds::hold(std::uint16_t id, const std::string& name) {
  Entry& entry = entries_[id];
  if (entry.holders++ > 0) return;
  entry.name = name;
  byName_[name].push_back(id);
  if (publish_) publish_(id, name);
}

// Searches from the given id, and moves it behind the result.
std::optional<std::uint16_t> GroupIds::lowestFree(std::uint32_t& from) const {
  for (; from < MaxIds; ++from) {
    const auto id = static_cast<std::uint16_t>(from);
    if (entries_.contains(id)) continue;
    ++from;
    return id;
  }
  return std::nullopt;
}

std::vector<device::Group> withGroupIds(std::vector<device::Group> groups) {
  GroupIds().enter(groups);
  return groups;
}

}  // namespace channel
