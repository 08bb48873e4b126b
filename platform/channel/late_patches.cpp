#include "platform/channel/late_patches.h"

#include <algorithm>

namespace channel {

void LatePatches::gaveUp(std::uint32_t tag, const device::Link& link, bool existed) {
  links_.try_emplace(link, Waiting{existed, {}, std::nullopt}).first->second.tags.insert(tag);
}

void LatePatches::settled(const device::Link& link) { links_.erase(link); }

void LatePatches::answered(std::uint32_t tag, device::Status status, std::uint64_t graphVersion) {
  const auto found = std::ranges::find_if(links_, [tag](const auto& each) { return each.second.tags.contains(tag); });
  if (found == links_.end()) return;
  Waiting& waiting = found->second;
  waiting.tags.erase(tag);
  if (status == device::Status::Ok) waiting.doneAt = graphVersion;
  if (waiting.tags.empty() && !waiting.doneAt) links_.erase(found);
}

bool LatePatches::isDue() const {
  return std::ranges::any_of(links_, [](const auto& each) { return each.second.isDue(); });
}

std::vector<LatePatches::Request> LatePatches::takeBack(std::uint64_t mirrorVersion,
                                                        const std::function<bool(const device::Link&)>& exists) {
  std::vector<Request> requests;
  std::erase_if(links_, [&](const auto& each) {
    const auto& [link, waiting] = each;
    if (!waiting.isDue() || *waiting.doneAt > mirrorVersion) return false;
    if (exists(link) != waiting.existed) requests.push_back({link, waiting.existed});
    return true;
  });
  return requests;
}

}  // namespace channel
