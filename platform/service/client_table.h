// The clients of a service, and the events that wait for them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "platform/service/client_id.h"
#include "platform/service/counts.h"
#include "platform/service/tap_queue.h"

namespace service {

class ClientTable {
 public:
  // queueBytes: limit of waiting bytes per client.
  explicit ClientTable(std::size_t queueBytes) : queueBytes_(queueBytes) {}

  ClientId add();

  // Drops what waits for the client; an unknown client is no error.
  void remove(ClientId client);

  bool contains(ClientId client) const { return clients_.contains(client); }

  // Returns null for an unknown client. The pointer is valid until the client is removed.
  TapQueue* queue(ClientId client);
  const TapQueue* queue(ClientId client) const;

  // Counts a message that the client, which must exist, sent or injected.
  void countIn(ClientId client) { ++clients_.at(client).in; }

  // All zero for an unknown client. Leaves out taps.
  ClientCounts counts(ClientId client) const;

  // Messages that all clients got or lost, with those that were removed. Leaves out all other counts.
  Counts counts() const;

 private:
  struct Client {
    TapQueue queue;
    std::uint64_t in = 0;
  };

  std::size_t queueBytes_;
  std::unordered_map<ClientId, Client> clients_;
  Counts past_;  // of removed clients
  std::uint32_t last_ = 0;
};

}  // namespace service
