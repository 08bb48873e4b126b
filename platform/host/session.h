// What a host knows about one client.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/device/port.h"
#include "platform/service/client_id.h"

namespace host {

// What is in flight to a client: the total sent, and how much of it the client has acknowledged.
class Credit {
 public:
  // Both totals begin at start.
  explicit Credit(std::uint64_t start = 0) : sent_(start), acknowledged_(start) {}

  std::uint64_t onItsWay() const { return sent_ - acknowledged_; }
  void sent(std::uint64_t amount) { sent_ += amount; }

  // total: all that the client has acknowledged so far. Impossible values are ignored.
  void acknowledge(std::uint64_t total) {
    if (total > acknowledged_ && total <= sent_) acknowledged_ = total;
  }

 private:
  std::uint64_t sent_;
  std::uint64_t acknowledged_;
};

// The client is probed, because one of its connections seems to be closed.
struct Suspicion {
  device::Time nextProbe{};
  device::Time end{};  // a client that can be reached until then is alive
};

// One client, from its Hello to its Goodbye. A peer is the routing id of one of its three sockets; it is empty until
// that socket has opened its channel.
struct Session {
  std::uint64_t number = 0;  // random, so that other clients cannot guess it; never 0
  service::ClientId client{};
  std::string program;
  std::uint32_t process = 0;
  std::string controlPeer;
  std::string eventPeer;
  std::string graphPeer;
  std::array<std::optional<int>, 3> connections;  // of the three sockets, see PeerSocket::connection

  Credit events;  // in bytes of entries
  Credit graph;   // in versions of the patch graph
  bool graphStale = false;
  bool topologyTold = false;  // TopologyChanged was sent, and the client has not asked since

  std::uint64_t taken = 0;      // Send and Inject processed
  std::uint64_t takenTold = 0;  // as last reported to the client

  std::uint64_t lossTold = 0;  // lost copies, as last logged
  device::Time lossToldAt{};

  std::optional<Suspicion> suspicion;
  bool gone = false;  // cannot be reached; will be removed
};

}  // namespace host
