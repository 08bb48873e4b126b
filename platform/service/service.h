// The event server and the stream server of one device: taps, connections, and the events that wait for each client.
// Pure logic: no sockets, no threads, no clock. Not thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/device/driver.h"
#include "platform/device/status.h"
#include "platform/service/client_id.h"
#include "platform/service/counts.h"
#include "platform/service/memory_ledger.h"
#include "platform/service/open_requests.h"

namespace service {

struct QueueLimits {
  std::size_t queueBytes = 8U << 20U;  // limit of waiting bytes per client
  std::size_t memory = 512U << 20U;    // that is held for all clients; see MemoryLedger
};

// Limits on what clients can make.
struct TableLimits {
  // Of one client: enough for all ports of two groups that are as large as possible. A tap takes some 170 bytes.
  std::uint32_t taps = 1U << 18U;

  // Event ports of one client that have taps. A message is copied once to each that taps its port, so this bounds what
  // one client can make a message cost all others.
  std::size_t eventPorts = 1024;

  // Connections of the device that clients make: all pairs of a thousand sources and a thousand sinks. A connection
  // takes about 350 bytes. Another system may report more.
  std::size_t links = 1U << 20U;
};

// A connection of the device. carried: the service carries it from one of several systems to another, so it ends with
// the service.
struct CarriedLink {
  device::Link link;
  bool carried = false;
};

// A place in the list of connections, from where it goes on.
struct LinkPosition {
  std::int64_t after = 0;
  std::int64_t end = 0;
};

// A change of the patch graph, as reported to clients. added is false for a removed connection.
struct GraphChange {
  std::uint64_t version = 0;  // of the graph after this change; the first change makes version 1
  bool added = false;
  device::Link link;
  bool carried = false;  // see CarriedLink; false for a removed connection
};

class Service : private device::DriverEvents {
 public:
  // Starts the driver at once.
  Service(std::unique_ptr<device::Driver> driver, QueueLimits limits, device::Time now, TableLimits tables = {});
  ~Service() override;

  // user: whose client it is; any number. Memory is counted for each user.
  ClientId addClient(std::uint32_t user = 0);

  // Ends the client's taps and drops its waiting events, and the answers to its taps. An unknown client is no error,
  // here and below: operations that return a status return NoSession, the others do nothing.
  //
  // No operation works for long. What would, as the end of many taps, takes effect at once for all clients, and advance
  // cleans up in pieces: call it after each operation that takes a time. Until then the driver may still report what
  // nobody needs, or not report yet what a tap of a sink with very many connections needs; and connections of removed
  // ports are still listed, though they carry nothing.
  void removeClient(ClientId client, device::Time now);

  // Taps. holderBytes: the largest event (header included) that several records may share. Repeating a tap returns Ok
  // and changes nothing. NotFound: no port has that name. Refused: the client has as many taps, or event ports with
  // taps, as it may (see TableLimits), its user holds as much memory as it may, or the device cannot receive from a
  // source that the tap needs; then there is no tap. If the device finds that out only later, each client with such a
  // tap gets a loss of unknown size. untap returns Nothing if there is no such tap.
  Reply tap(ClientId client, EventPortId port, std::string_view name, std::uint32_t holderBytes, device::Time now);
  device::Status untap(ClientId client, EventPortId port, std::string_view name, device::Time now);
  void untapAll(ClientId client, EventPortId port, device::Time now);

  // A message that passes thousands of ports and taps does so in pieces: advance goes on with it. Meanwhile other
  // operations work, and what the device emits waits for its turn. send and inject finish what is on its way first, for
  // which they need as long as it takes; so call advance until isPassing returns false.
  bool isPassing() const;

  // Passes a message through every existing device port that the event port taps, in the order of tapping: at a source
  // as if it had emitted the message, at a sink as if it had arrived there. Warns of a removed port at the first
  // message that it misses. BadRequest: the message has no bytes. Once isPassing returns false, counts knows whether
  // the message was unsendable.
  device::Status send(ClientId client, EventPortId port, const device::Message& message, device::Time now);

  // Passes a message through one device port in the same way, tapped or not. NotFound: no port has that name.
  device::Status inject(ClientId client, std::string_view name, const device::Message& message, device::Time now);

  // Patch graph. connect returns Refused if there are as many connections as there may be, or the device does not make
  // this one; see Driver::patch for disconnect. graphVersion counts changes. takeGraphChanges returns all changes since
  // its last call, by anyone.
  Reply connect(const device::Link& link, device::Time now);
  Reply disconnect(const device::Link& link, device::Time now);
  std::vector<device::Link> links() const;
  std::vector<CarriedLink> connections() const;  // like links

  // The same list in pieces, between which connections may be made and removed: connectionsAfter returns up to `most`
  // (at least 1) connections after the position and moves it; an empty piece is the end. Each connection that exists
  // from firstConnection to the end is listed exactly once. A connection made in between is left out; one removed in
  // between may be. So the list and all changes after the version at firstConnection make the graph of the end.
  LinkPosition firstConnection() const;
  std::vector<CarriedLink> connectionsAfter(LinkPosition& position, std::size_t most) const;
  std::uint64_t graphVersion() const;
  std::vector<GraphChange> takeGraphChanges();

  // Returns the later answers to requests since the last call. A change of the patch graph precedes the answer to the
  // request that made it.
  std::vector<Answer> takeAnswers();

  // How many requests have no answer yet, also of clients that have left.
  std::size_t openRequests() const;

  const device::Topology& topology() const;

  // Grows with every change of the topology.
  std::uint64_t topologyVersion() const;

  // Moves up to about maxBytes of the client's waiting events, oldest first, to the end of out, as entries of a
  // wire::Events message. Moves at least one event if any waits. Returns the number of bytes appended; 0 if nothing
  // waits.
  std::size_t takeEvents(ClientId client, std::size_t maxBytes, std::vector<std::uint8_t>& out);

  // True if events wait for the client.
  bool hasEvents(ClientId client) const;

  // Returns the clients for which events began to wait since the last call, each once. A client for which events
  // still wait from before is not among them: look at it again when it has room.
  std::vector<ClientId> takeReadyClients();

  // Returns the clients that lost messages since the last call, each once.
  std::vector<ClientId> takeLosingClients();

  // How many clients of this user exist.
  std::size_t clientsOf(std::uint32_t user) const;

  // Whether there is memory for one more client of this user.
  bool hasRoomForClient(std::uint32_t user) const;

  // What is held for clients: their events, taps and clients, entered here, and what others enter. Connections belong
  // to no user. When there is too much, new events make the oldest ones go (see relieve), and taps and connections are
  // Refused. The rest is up to the caller.
  MemoryLedger& memory();

  // False if the client's user holds as much memory as it may, and this would be a new connection.
  bool hasRoomFor(ClientId client, const device::Link& link) const;

  // Drops some of the oldest waiting events of whoever holds too much memory, as dropOldestOf does; takes up to 3 ms.
  // Returns how much became free; 0 if nobody holds too much, or there is too little to drop.
  std::size_t relieve();

  // Memory that the allocator spends on the events that wait for all clients, or for those of one user.
  std::size_t waitingMemory() const;
  std::size_t waitingMemory(std::uint32_t user) const;

  // Drops the oldest waiting events of the client with the most memory, of the user with the most memory, again and
  // again, until so much memory is free again, or nothing is left to drop. Each of these clients gets a loss in their
  // place, and they count as lost. dropOldestOf drops events of this user's clients alone. Return how much became free.
  // Take about 1 ms a MiB, and 1 ms for ten thousand clients.
  std::size_t dropOldest(std::size_t memory);
  std::size_t dropOldestOf(std::uint32_t user, std::size_t memory);

  // All zero for an unknown client.
  ClientCounts counts(ClientId client) const;
  Counts counts() const;
  // The service ends; takeNotes then includes what the driver still had to report. Only notes and counts may be read
  // afterwards.
  void finish(device::Time now);

  // As in counts, but without its cost.
  std::uint64_t lostBefore() const;
  std::uint64_t uncountedLosses() const;

  // True while senders must be held back (see Driver::behind).
  bool behind() const;

  // Returns the log lines of the driver and the service since the last call: see DriverEvents::noted and warned.
  struct Note {
    std::string line;
    bool isWarning = false;
  };
  std::vector<Note> takeNotes();

  // See device::Started.
  int descriptor() const;

  // Does a bounded piece of the work that is due. Returns when to call again (see Driver::advance). The result holds
  // until the next call of an operation that takes a time.
  std::optional<device::Time> advance(device::Time now);

 private:
  void emitted(device::PortId source, const device::Message& message, device::Time now) override;
  void linked(const device::Link& link, device::Time now) override;
  void unlinked(const device::Link& link, device::Time now) override;
  void topologyChanged(device::Time now) override;
  void lost(device::PortId source, std::uint64_t count, device::Time now) override;
  void patched(device::RequestId request, device::Status status, device::Time now) override;
  void used(device::PortId source, device::Status status, device::Time now) override;
  void noted(std::string_view line) override;
  void warned(std::string_view line) override;

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace service
