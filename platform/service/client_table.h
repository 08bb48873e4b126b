// The clients of a service, and the events that wait for them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/service/client_id.h"
#include "platform/service/counts.h"
#include "platform/service/memory_ledger.h"
#include "platform/service/tap_queue.h"

namespace service {

// Counts are kept, not summed up: no operation takes longer because there are more clients, except dropOldest.
//
// Enters in a ledger what each user's clients hold. When a new message makes that too much, the oldest events of
// whoever holds the most are dropped first, in pieces, so that what waits cannot grow faster than it is dropped.
class ClientTable {
 public:
  // What a client costs besides what waits for it: here, as a session of the host, and in all their tables. Measured
  // with mallinfo2 over 10,000 sessions.
  static constexpr std::size_t ClientBytes = 1024;

  // queueBytes: limit of waiting bytes per client. ledger: must outlive the table; null: there is no ceiling.
  explicit ClientTable(std::size_t queueBytes, MemoryLedger* ledger = nullptr)
      : queueBytes_(queueBytes), ledger_(ledger) {}

  // user: whose client it is; any number.
  ClientId add(std::uint32_t user = 0);

  // What waits for the client is out of reach at once; sweep frees its memory. An unknown client is no error.
  void remove(ClientId client);

  // Frees about so much memory of removed clients.
  void sweep(std::size_t memory);

  // True while sweep has work.
  bool hasRemoved() const { return !removed_.empty(); }

  bool contains(ClientId client) const { return clients_.contains(client); }

  // The user given to add, for a client that exists; 0 for another.
  std::uint32_t user(ClientId client) const;

  // How many clients of this user exist.
  std::size_t clientsOf(std::uint32_t user) const;

  // Like the operations of TapQueue. An unknown client gets and has nothing.
  void addMessage(ClientId client, EventPortId eventPort, device::PortId port, std::string_view name,
                  std::uint32_t holderBytes, const device::Message& message, device::Time now);
  void addLossBefore(ClientId client, std::uint64_t count);
  std::size_t take(ClientId client, std::size_t maxBytes, std::vector<std::uint8_t>& out);
  bool hasEvents(ClientId client) const;

  // Returns the clients for which events began to wait since the last call, each once.
  std::vector<ClientId> takeReady();

  // Returns the clients that lost messages since the last call, each once.
  std::vector<ClientId> takeLosing();

  // Memory of what waits for all clients, or for those of a user, with that of removed clients that is not free yet.
  std::size_t memory() const { return memory_; }
  std::size_t memory(std::uint32_t user) const;

  // Drops the oldest events of the client with the most memory, of the user with the most memory, again and again,
  // until so much memory is free again, or nothing is left to drop. Each client gets a loss instead. The second drops
  // events of this user's clients alone. Return how much became free.
  std::size_t dropOldest(std::size_t memory);
  std::size_t dropOldestOf(std::uint32_t user, std::size_t memory);

  // Drops some of the oldest events of whoever the ledger says holds too much, in the same way; about 2 MiB at most.
  // Does nothing if nobody does, or if too little waits there. Returns how much memory became free.
  std::size_t relieve();

  // Counts a message that the client, which must exist, sent or injected.
  void countIn(ClientId client) { ++clients_.at(client).in; }

  // Counts one of these messages as unsendable (see ClientCounts).
  void countUnsendable(ClientId client) { ++clients_.at(client).unsendable; }

  // All zero for an unknown client. Leaves out taps.
  ClientCounts counts(ClientId client) const;

  // Messages that all clients got or lost, with those that were removed. Leaves out all other counts.
  Counts counts() const;

 private:
  struct User {
    std::size_t clients = 0;  // with removed ones that sweep has not freed yet
    std::size_t present = 0;  // without them
    std::size_t memory = 0;
  };

  struct Client {
    TapQueue queue;
    ClientId id{};
    std::uint32_t user = 0;
    std::uint64_t in = 0;
    std::uint64_t unsendable = 0;
    bool isReady = false;   // stands in ready_
    bool isLosing = false;  // stands in losing_
    // As counted in the totals.
    std::size_t memory = 0;
    std::uint64_t accepted = 0;
    std::uint64_t lost = 0;
  };

  // Changes a client's queue, and enters what that changed.
  template <class Change>
  void change(Client& client, const Change& change);
  std::size_t drop(std::optional<std::uint32_t> only, std::size_t memory);
  void enter(std::uint32_t user, std::size_t before, std::size_t now);

  std::size_t queueBytes_;
  MemoryLedger* ledger_;
  std::unordered_map<ClientId, Client> clients_;
  std::map<std::uint32_t, User> users_;
  std::deque<Client> removed_;
  std::vector<ClientId> ready_;
  std::vector<ClientId> losing_;
  std::size_t memory_ = 0;
  std::uint64_t accepted_ = 0;
  std::uint64_t lost_ = 0;
  std::uint32_t last_ = 0;
};

}  // namespace service
