#include "platform/host/session_table.h"

#include <utility>

#include "platform/host/random_number.h"

namespace host {

Session* SessionTable::add(ConnectionId control, service::ClientId client) {
  if (findByConnection(control) != nullptr) return nullptr;
  std::uint64_t number = randomNumber();
  while (number == 0 || sessions_.contains(number)) number = randomNumber();
  Session& session = sessions_[number];
  session.number = number;
  session.client = client;
  session.control = control;
  byConnection_.emplace(control, number);
  byClient_.emplace(client, number);
  return &session;
}

Session* SessionTable::find(std::uint64_t number) {
  const auto found = sessions_.find(number);
  return found == sessions_.end() ? nullptr : &found->second;
}

Session* SessionTable::findByConnection(ConnectionId connection) {
  const auto found = byConnection_.find(connection);
  return found == byConnection_.end() ? nullptr : find(found->second);
}

Session* SessionTable::findByClient(service::ClientId client) {
  const auto found = byClient_.find(client);
  return found == byClient_.end() ? nullptr : find(found->second);
}

bool SessionTable::open(Session& session, ConnectionId& slot, ConnectionId connection) {
  const Session* owner = findByConnection(connection);
  if (slot != ConnectionId::None || (owner != nullptr && owner != &session)) return false;
  slot = connection;
  byConnection_.emplace(connection, session.number);
  return true;
}

void SessionTable::close(Session& session, ConnectionId connection) {
  for (ConnectionId* slot : {&session.eventChannel, &session.graphChannel}) {
    if (*slot == connection) *slot = ConnectionId::None;
  }
  byConnection_.erase(connection);
}

void SessionTable::remove(std::uint64_t number) {
  const auto found = sessions_.find(number);
  if (found == sessions_.end()) return;
  for (const ConnectionId connection :
       {found->second.control, found->second.eventChannel, found->second.graphChannel}) {
    byConnection_.erase(connection);
  }
  byClient_.erase(found->second.client);
  sessions_.erase(found);
}

}  // namespace host
