// What a service knows, and what its operations have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "platform/device/driver.h"
#include "platform/service/client_table.h"
#include "platform/service/device_requests.h"
#include "platform/service/memory_ledger.h"
#include "platform/service/patch_graph.h"
#include "platform/service/router.h"
#include "platform/service/service.h"
#include "platform/service/source_use.h"
#include "platform/service/tap_table.h"

namespace service {

struct Service::State {
  // Ports that messages pass, and copies for taps, that one operation allows: about a millisecond.
  static constexpr std::size_t PassedAtOnce = 2000;

  State(std::unique_ptr<device::Driver> device, QueueLimits sizes, TableLimits tableLimits);

  const device::Topology& topology() const { return driver->topology(); }

  // Messages.

  // Returns true once all taps have their copies.
  bool copyToTaps(device::PortId port, const device::Message& message, device::Time now, Router::Copying& to);

  // Passes a message of a client through these ports, as far as one operation goes. What is on its way comes first.
  void pass(ClientId client, std::span<const device::PortId> ports, const device::Message& message, device::Time now);

  // The device speaks outside of an operation of its own: allows as much as one operation may do. What continues a
  // trip, and what happens inside advance, has no allowance of its own.
  void allowOutside() {
    if (!advances && !router.isAtDevice()) router.allow(PassedAtOnce);
  }

  // Finishes what is on its way.
  void arriveAll();

  // Once for each message, which may reach several sinks.
  void countUnsendable();

  // For a port that a message is about to pass: returns whether it was removed. Warns at the first message it misses.
  bool hasGone(device::PortId port);

  // Messages of a source are lost. The loss stands behind the messages that are still on their way, and before those
  // that follow.
  void lose(device::PortId source, std::uint64_t count);

  // How far the clients have been told of a loss.
  struct Telling {
    device::PortId source;
    std::uint64_t count = 0;
    std::optional<device::PortId> port;  // whose taps are looked at; nullopt: the next sink's
    std::uint64_t tap = 0;               // of this port, the first that has not been looked at
    std::int64_t sink = 0;               // the source's last connection that has had its turn
    std::set<ClientId> told{};
  };

  // Looks at as many taps and connections as are left. Returns true at the end.
  bool tell(Telling& telling, std::size_t& left);

  // Taps and connections.

  bool mayTap(ClientId client, EventPortId eventPort, device::PortId port) const;

  bool bothExist(const device::Link& link) const {
    return topology().exists(link.source()) && topology().exists(link.sink());
  }

  // Refuses no connection that exists.
  bool mayConnect(const device::Link& link) const {
    return graph.carrier(link) || (graph.size() < limits.links && memory.hasSharedRoom(PatchGraph::LinkBytes));
  }

  Reply patch(bool made, const device::Link& link, device::Time now);

  // These are for connections that the service carries.
  Reply connectHere(const device::Link& link, device::Time now);
  Reply disconnectHere(const device::Link& link);

  // Call settle when the driver's operation has returned.
  void graphChanged(bool added, const device::Link& link, SourceUse::Turn turn = SourceUse::Turn::Last);

  bool isCarried(const PatchGraph::Entry& entry) const;

  void disconnect(const device::Link& link) {
    if (graph.disconnect(link) == device::Status::Ok) graphChanged(false, link);
  }

  // What is left of a connection whose port was removed ends, before anything else happens to the same pair.
  void disconnectSevered(const device::Link& link) {
    if (graph.isSevered(link)) disconnect(link);
  }

  // Call this when an operation of the driver has returned. Returns true if there was something to do.
  bool settle(device::Time now);

  // Work that one operation would take too long for.

  // Does a piece of all that follows. Returns false if there was nothing to do.
  bool work(device::Time now);
  bool isWorkLeft();

  void sweepTaps();
  void endSevered();

  // Moves the taps of ports that the device dropped to the ports that have their names now. Ports without such a
  // namesake keep their taps and are not looked at again until the topology changes.
  void moveTaps();

  // Returns how many taps it has looked at; fewer than `most` if none is left.
  std::size_t moveTaps(device::PortId from, device::PortId to, std::size_t most);

  // A message is about to pass a port: first moves the taps that still wait to move there. Returns true if none does.
  bool bringHome(device::PortId port, std::size_t& left);

  // Forgets removed ports that have returned, or that nobody taps any more.
  void sweepGoneTold();

  MemoryLedger memory;
  std::unique_ptr<device::Driver> driver;
  TableLimits limits;
  int descriptor = -1;  // the driver's
  PatchGraph graph;
  TapTable taps;
  SourceUse use;
  DeviceRequests requests;
  ClientTable clients;
  Router router;
  std::vector<GraphChange> changes;
  std::uint64_t in = 0;  // from all clients and the device
  std::uint64_t lostBefore = 0;
  std::uint64_t uncountedLosses = 0;
  std::uint64_t unsendable = 0;
  std::uint64_t unsendableTrip = 0;  // the last trip that was counted
  std::optional<ClientId> sender;    // whose message the router passes; nullopt: the device emitted it
  std::vector<Note> notes;
  std::vector<device::PortId> homeless;       // tapped ports that the device dropped, still to look at
  std::set<device::PortId> goneTold;          // removed ports that notes have warned of, until they return
  std::optional<device::PortId> goneToSweep;  // the next of them for sweepGoneTold
  bool advances = false;                      // the driver's advance runs
  std::uint64_t topologyVersion = 0;
};

}  // namespace service
