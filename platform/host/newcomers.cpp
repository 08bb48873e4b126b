#include "platform/host/newcomers.h"

namespace host {

void Newcomers::enter(ConnectionId connection, device::Time now) {
  dropGone();
  entries_.push_back({connection, now + Patience});
  waiting_[connection] = now + Patience;
}

std::optional<ConnectionId> Newcomers::overdue(device::Time now) {
  dropGone();
  if (entries_.empty() || (now < entries_.front().until && waiting_.size() <= Most)) return std::nullopt;
  const ConnectionId connection = entries_.front().connection;
  leave(connection);
  return connection;
}

std::optional<device::Time> Newcomers::next() {
  dropGone();
  return entries_.empty() ? std::nullopt : std::optional(entries_.front().until);
}

void Newcomers::dropGone() {
  const auto isGone = [this](const Entry& entry) {
    const auto found = waiting_.find(entry.connection);
    return found == waiting_.end() || found->second != entry.until;
  };
  while (!entries_.empty() && isGone(entries_.front())) entries_.pop_front();
}

}  // namespace host
