// The order in which new connections are served.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <unordered_map>

#include "platform/host/connections.h"

namespace host {

// Connections that wait for their first turn. Each process that has some gets one turn after the other, so a process
// that connects as fast as it can does not keep those of others waiting.
class FirstTurns {
 public:
  // Of one process. The service needs a tenth of a second for as many.
  static constexpr std::size_t Most = 1024;

  // Returns false if too many of this process wait already. process: any number.
  bool enter(std::uint32_t process, ConnectionId connection);

  // Returns the next one, which leaves with that: the oldest of its process. nullopt if none waits.
  std::optional<ConnectionId> take();

  bool empty() const { return turns_.empty(); }

 private:
  std::unordered_map<std::uint32_t, std::deque<ConnectionId>> waiting_;  // of each process in turns_
  std::deque<std::uint32_t> turns_;                                      // processes, each once
};

}  // namespace host
