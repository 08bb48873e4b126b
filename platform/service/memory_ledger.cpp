#include "platform/service/memory_ledger.h"

#include <algorithm>

namespace service {

void MemoryLedger::change(std::uint32_t user, std::size_t before, std::size_t now) {
  if (before == now) return;
  const auto known = users_.try_emplace(user).first;
  const std::size_t had = known->second;
  // Unsigned differences may wrap; their sums are right.
  known->second += now - before;
  ofUsers_ += now - before;
  if (had > mostOfUser()) --usersOver_;
  if (known->second > mostOfUser()) ++usersOver_;
  if (known->second == 0) users_.erase(known);
}

std::size_t MemoryLedger::of(std::uint32_t user) const {
  const auto known = users_.find(user);
  return known == users_.end() ? 0 : known->second;
}

std::optional<std::uint32_t> MemoryLedger::heaviest() const {
  if (!isOver() || users_.empty()) return std::nullopt;
  return std::ranges::max_element(users_, {}, [](const auto& user) { return user.second; })->first;
}

std::size_t MemoryLedger::excess() const {
  const auto user = heaviest();
  if (!user) return 0;
  const std::size_t held = of(*user);
  const std::size_t ofUser = held - std::min(held, mostOfUser());
  const std::size_t ofAll = total() - std::min(total(), ceiling_ - reserve());
  return std::max(ofUser, std::min(ofAll, held));
}

bool MemoryLedger::hasRoom(std::uint32_t user, std::size_t bytes) const {
  const std::size_t held = of(user) + bytes;
  return held <= mostOfUser() && total() + bytes <= ceiling_ - (held <= little() ? 0 : reserve());
}

bool MemoryLedger::hasSharedRoom(std::size_t bytes) const {
  return shared_ + bytes <= mostShared() && total() + bytes <= ceiling_ - reserve();
}

bool MemoryLedger::hasRoomForClient(std::uint32_t user, std::size_t bytes) const {
  return of(user) + bytes <= mostOfUser() + reserve() && total() + bytes <= ceiling_;
}

}  // namespace service
