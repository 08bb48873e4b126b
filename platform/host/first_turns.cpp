#include "platform/host/first_turns.h"

namespace host {

bool FirstTurns::enter(std::uint32_t process, ConnectionId connection) {
  auto& waiting = waiting_[process];
  if (waiting.size() >= Most) return false;
  if (waiting.empty()) turns_.push_back(process);
  waiting.push_back(connection);
  return true;
}

std::optional<ConnectionId> FirstTurns::take() {
  if (turns_.empty()) return std::nullopt;
  const std::uint32_t process = turns_.front();
  turns_.pop_front();
  const auto found = waiting_.find(process);
  const ConnectionId connection = found->second.front();
  found->second.pop_front();
  if (found->second.empty()) {
    waiting_.erase(found);
  } else {
    turns_.push_back(process);
  }
  return connection;
}

}  // namespace host
