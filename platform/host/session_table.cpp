#include "platform/host/session_table.h"

#include <utility>

#include "platform/host/random_number.h"

namespace host {
Session* SessionTable::add(std::string_view controlPeer, service::ClientId client) {
  if (findByPeer(controlPeer) != nullptr) return nullptr;
  std::uint64_t number = randomNumber();
  while (number == 0 || sessions_.contains(number)) number = randomNumber();
  Session& session = sessions_[number];
  session.number = number;
  session.client = client;
  session.controlPeer = controlPeer;
  byPeer_.emplace(controlPeer, number);
  return &session;
}

Session* SessionTable::find(std::uint64_t number) {
  const auto found = sessions_.find(number);
  return found == sessions_.end() ? nullptr : &found->second;
}

Session* SessionTable::findByPeer(std::string_view peer) {
  const auto found = byPeer_.find(peer);
  return found == byPeer_.end() ? nullptr : find(found->second);
}

bool SessionTable::open(Session& session, std::string& slot, std::string_view peer) {
  const Session* owner = findByPeer(peer);
  if (!slot.empty() || (owner != nullptr && owner != &session)) return false;
  slot = peer;
  byPeer_.emplace(peer, session.number);
  return true;
}

void SessionTable::remove(std::uint64_t number) {
  const auto found = sessions_.find(number);
  if (found == sessions_.end()) return;
  for (const std::string* peer : {&found->second.controlPeer, &found->second.eventPeer, &found->second.graphPeer}) {
    byPeer_.erase(*peer);
  }
  sessions_.erase(found);
}

}  // namespace host
