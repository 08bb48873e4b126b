// The event server and the stream server of one device: who taps what, who is connected to whom, and what waits for
// each client. Pure logic: no sockets, no threads, no clock. Not safe for use by several threads at once.
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

namespace service {

struct Limits {
  std::size_t queueBytes = 8U << 20U;  // what may wait for one client
};

// A connection of the device. carried: it leads from one of several systems to another; the service carries it, so it
// ends with the service.
struct CarriedLink {
  device::Link link;
  bool carried = false;
};

// What a client is told of the patch graph. added false: taken away.
struct GraphChange {
  std::uint64_t version = 0;  // of the graph with this change made; the first change makes version 1
  bool added = false;
  device::Link link;
  bool carried = false;  // see CarriedLink; of one that is taken away: false
};

class Service : private device::DriverEvents {
 public:
  // Starts the driver at once.
  Service(std::unique_ptr<device::Driver> driver, Limits limits, device::Time now);
  ~Service() override;

  ClientId addClient();

  // Ends the client's taps and forgets what waits for it. A client that is not there is not an error, here or below:
  // operations that answer a status answer NoSession for it, the others do nothing.
  void removeClient(ClientId client, device::Time now);

  // Taps. holderBytes: the largest event (header included) that several records may share. The same tap twice is Ok
  // and stays as it is. NotFound: no port has that name. Untapping what is not tapped answers Nothing.
  device::Status tap(ClientId client, EventPortId port, std::string_view name, std::uint32_t holderBytes,
                     device::Time now);
  device::Status untap(ClientId client, EventPortId port, std::string_view name, device::Time now);
  void untapAll(ClientId client, EventPortId port, device::Time now);

  // Passes a message through every device port that the event port has tapped and that is there, in the order of
  // tapping: at a source as if it had emitted the message, at a sink as if it had arrived there. A port that has gone
  // is warned of at the first message that it misses. BadRequest: the message has no bytes.
  device::Status send(ClientId client, EventPortId port, const device::Message& message, device::Time now);

  // Passes a message through one device port in the same way, tapped or not. NotFound: no port has that name.
  device::Status inject(ClientId client, std::string_view name, const device::Message& message, device::Time now);

  // Patch graph. graphVersion counts changes; changes of everybody are collected until takeGraphChanges.
  device::Status connect(const device::Link& link, device::Time now);
  device::Status disconnect(const device::Link& link, device::Time now);
  std::vector<device::Link> links() const;
  std::vector<CarriedLink> connections() const;  // the same
  std::uint64_t graphVersion() const;
  std::vector<GraphChange> takeGraphChanges();

  const device::Topology& topology() const;

  // Grows with every change of the topology.
  std::uint64_t topologyVersion() const;

  // Moves up to about maxBytes of waiting events for the client, oldest first, to the end of out, in the form of
  // the entries of a wire::Events message. At least one event is moved when any waits. Answers the number of bytes
  // appended; 0 when nothing waits.
  std::size_t takeEvents(ClientId client, std::size_t maxBytes, std::vector<std::uint8_t>& out);

  // True when events wait for the client.
  bool hasEvents(ClientId client) const;

  // All zero for a client that is not there.
  ClientCounts counts(ClientId client) const;
  Counts counts() const;
  // The service ends. Moves what the device still has to report to the notes. Only notes and counts may be called
  // afterwards.
  void finish(device::Time now);

  // As in counts, but asked for at no cost.
  std::uint64_t lostBefore() const;
  std::uint64_t uncountedLosses() const;

  // True while senders are to be held back (see Driver::behind).
  bool behind() const;

  // What there is for the log since this was last asked, of the driver and the service itself: see
  // DriverEvents::noted, and warned.
  struct Note {
    std::string line;
    bool isWarning = false;
  };
  std::vector<Note> takeNotes();

  // See Driver::descriptor.
  int descriptor() const;

  // Does what is due; answers when to call again (see Driver::advance). An answer holds until the next call of an
  // operation that takes a time.
  std::optional<device::Time> advance(device::Time now);

 private:
  void emitted(device::PortId source, const device::Message& message, device::Time now) override;
  void linked(const device::Link& link, device::Time now) override;
  void unlinked(const device::Link& link, device::Time now) override;
  void topologyChanged(device::Time now) override;
  void lost(device::PortId source, std::uint64_t count, device::Time now) override;
  void noted(std::string_view line) override;
  void warned(std::string_view line) override;

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace service
