// Connections that belong to no client yet.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <unordered_map>

#include "platform/device/port.h"
#include "platform/host/connections.h"

namespace host {

// Bounds what connections cost that open no channel: each has two seconds, and if there are too many, the oldest goes.
// So silent connections keep nobody away, and take no room from clients that exist.
class Newcomers {
 public:
  static constexpr device::Time Patience = std::chrono::seconds(2);
  static constexpr std::size_t Most = 256;

  // Connections are entered in the order of time, each once until it leaves.
  void enter(ConnectionId connection, device::Time now);

  // It has opened a channel, or has closed.
  void leave(ConnectionId connection) { waiting_.erase(connection); }

  // Returns a connection to close, which leaves with that; nullopt if there is none now.
  std::optional<ConnectionId> overdue(device::Time now);

  // Returns when the next connection is overdue.
  std::optional<device::Time> next();

 private:
  struct Entry {
    ConnectionId connection{};
    device::Time until{};
  };

  // Drops entries of connections that have left.
  void dropGone();

  std::deque<Entry> entries_;  // oldest first; also of some that have left
  std::unordered_map<ConnectionId, device::Time> waiting_;
};

}  // namespace host
