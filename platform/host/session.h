// What a host knows about one client.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>

#include "platform/device/port.h"
#include "platform/host/connections.h"
#include "platform/host/long_answer.h"
#include "platform/host/peer_identity.h"
#include "platform/service/client_id.h"
#include "platform/service/open_requests.h"
#include "platform/wire/messages.h"

namespace host {

// What is in flight to a client: the total sent, and how much of it the client has acknowledged.
class Credit {
 public:
  // Both totals begin at start.
  explicit Credit(std::uint64_t start = 0) : sent_(start), acknowledged_(start) {}

  std::uint64_t onItsWay() const { return sent_ - acknowledged_; }
  // All that was sent so far.
  std::uint64_t total() const { return sent_; }
  void sent(std::uint64_t amount) { sent_ += amount; }

  // total: all that the client has acknowledged so far. Impossible values are ignored.
  void acknowledge(std::uint64_t total) {
    if (total > acknowledged_ && total <= sent_) acknowledged_ = total;
  }

 private:
  std::uint64_t sent_;
  std::uint64_t acknowledged_;
};

// One client, from its Hello to its Goodbye.
struct Session {
  std::uint64_t number = 0;  // random, so that other clients cannot guess it; never 0
  service::ClientId client{};
  wire::Token token;
  PeerIdentity peer;
  // Its connections; None until one has opened its channel, and once it has closed.
  ConnectionId control = ConnectionId::None;
  ConnectionId eventChannel = ConnectionId::None;
  ConnectionId graphChannel = ConnectionId::None;

  Credit events;  // in bytes of entries
  Credit graph;   // in versions of the patch graph
  bool graphStale = false;

  std::unique_ptr<LongAnswer> answer;  // what is left of the answer to the last request; null if nothing is
  std::uint32_t answerTag = 0;

  std::uint64_t taken = 0;      // Send and Inject processed
  std::uint64_t takenTold = 0;  // as last reported to the client
  bool takenIsOwed = false;     // see Dispatcher

  std::uint64_t lossTold = 0;  // lost copies, as last logged
  device::Time lossToldAt{};
  bool lossIsDue = false;  // a line about others waits for its time

  std::set<service::RequestId> unanswered;  // requests that the service has not answered yet
};

}  // namespace host
