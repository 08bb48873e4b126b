// What a dispatcher does so that its clients do not hold too much memory.
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host/dispatcher.h"

namespace host {
namespace {

// Connections of one user that are ended at once, between which others are served.
constexpr int EndedAtOnce = 4;

constexpr std::string_view TooMuchText = "disconnected: its user holds too much memory";

}  // namespace

bool Dispatcher::admits(const PeerIdentity& peer) const {
  const std::uint32_t user = peer.user.value_or(0);
  if (service_.clientsOf(user) >= settings_.sessionsOfUser) {
    log(peer, "refused: its user has " + std::to_string(settings_.sessionsOfUser) + " clients already");
    return false;
  }
  if (service_.hasRoomForClient(user)) return true;
  log(peer, "refused: the memory for clients is used up");
  return false;
}

bool Dispatcher::relieve(device::Time now) {
  const service::MemoryLedger& memory = service_.memory();
  if (!memory.isOver()) return false;
  if (service_.relieve() > 0) return memory.isOver();
  const std::size_t before = memory.total();
  for (int ended = 0; ended < EndedAtOnce; ++ended) {
    const auto user = memory.heaviest();
    const auto connection = user ? connections_.heaviestOf(*user) : std::nullopt;
    if (!connection) break;
    endHeavy(*connection, now);
  }
  // What cannot be freed may become less by itself.
  return memory.isOver() && memory.total() < before;
}

void Dispatcher::endHeavy(ConnectionId connection, device::Time now) {
  Session* session = sessions_.findByConnection(connection);
  if (session == nullptr) {
    log(connections_.identity(connection), TooMuchText);
    newcomers_.leave(connection);
    return connections_.disconnect(connection);
  }
  const std::array all{session->control, session->eventChannel, session->graphChannel};
  end(*session, TooMuchText, now);
  for (const ConnectionId each : all) {
    newcomers_.leave(each);
    connections_.disconnect(each);
  }
}

}  // namespace host
