// What a host knows of one client.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/device/port.h"
#include "platform/service/client_id.h"

namespace host {

// What is on its way to a client: how much was sent in all, and how much of it the client has dealt with.
class Credit {
 public:
  // Both begin at start.
  explicit Credit(std::uint64_t start = 0) : sent_(start), acknowledged_(start) {}

  std::uint64_t onItsWay() const { return sent_ - acknowledged_; }
  void sent(std::uint64_t amount) { sent_ += amount; }

  // total: what the client has dealt with in all. What cannot be true is ignored.
  void acknowledge(std::uint64_t total) {
    if (total > acknowledged_ && total <= sent_) acknowledged_ = total;
  }

 private:
  std::uint64_t sent_;
  std::uint64_t acknowledged_;
};

// The client's death is looked into: one of its connections seems to have closed.
struct Suspicion {
  device::Time nextProbe{};
  device::Time end{};  // a client that can be reached until then is alive
};

// One client, from its Hello to its Goodbye. A peer is the routing id of one of its three sockets, empty until that
// socket has opened its channel.
struct Session {
  std::uint64_t number = 0;  // random, so that nobody speaks for another by guessing; never 0
  service::ClientId client{};
  std::string program;
  std::uint32_t process = 0;
  std::string controlPeer;
  std::string eventPeer;
  std::string graphPeer;
  std::array<std::optional<int>, 3> connections;  // of the three, see Peers::connection

  Credit events;  // in bytes of entries
  Credit graph;   // in versions of the patch graph
  bool graphStale = false;
  bool topologyTold = false;  // that it has changed; not asked for since

  std::uint64_t taken = 0;      // Send and Inject
  std::uint64_t takenTold = 0;  // as far as the client knows

  std::uint64_t lossTold = 0;  // copies lost, as far as the log knows
  device::Time lossToldAt{};

  std::optional<Suspicion> suspicion;
  bool gone = false;  // could not be reached; to be removed
};

}  // namespace host
