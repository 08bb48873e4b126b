// Which source port is connected to which sink port.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/status.h"
#include "platform/device/topology.h"
#include "platform/service/hash.h"

namespace service {

// The connections of a device, in the order of making. Changes cost the logarithm of the number of connections at
// most, and looking up a port no more than its own connections.
class PatchGraph {
 public:
  // Who brings messages along a connection: the service, or the device itself.
  enum class Carrier : std::uint8_t { Service, Device };

  // The port at the other end of a connection.
  struct Peer {
    device::PortId port;
    Carrier carrier = Carrier::Service;
  };

  // Those of a port, by a number that grows with each connection made.
  using Peers = std::map<std::uint64_t, Peer>;

  // topology says which ports exist, and must outlive the graph. initial stand from the start, at version 0; those
  // between ports that do not exist are left out.
  PatchGraph(const device::Topology& topology, const std::vector<device::Link>& initial);

  // Ok, and nothing changed, when the connection stands already; NotFound when one of its ports does not exist.
  device::Status connect(const device::Link& link, Carrier carrier = Carrier::Service);

  // NotFound when there is no such connection.
  device::Status disconnect(const device::Link& link);

  // The connections of ports that do not exist any more, in the order of making.
  std::vector<device::Link> orphans() const;

  // The sinks of a source or the sources of a sink, in the order of making; empty for a port that has none or does
  // not exist. Valid until the next change.
  const Peers& peers(device::PortId port) const;

  // All connections, in the order of making.
  std::vector<device::Link> links() const;

  // Who carries a connection; nothing when it does not stand.
  std::optional<Carrier> carrier(const device::Link& link) const;

  std::size_t size() const { return orders_.size(); }

  // The number of changes made.
  std::uint64_t version() const { return version_; }

 private:
  bool insert(const device::Link& link, Carrier carrier);
  void forget(device::PortId port, std::uint64_t order);

  const device::Topology& topology_;
  std::map<std::uint64_t, device::Link> links_;
  std::unordered_map<device::Link, std::uint64_t, LinkHash> orders_;
  std::unordered_map<device::PortId, Peers, PortHash> peers_;
  Peers none_;  // of a port that has none
  std::uint64_t nextOrder_ = 0;
  std::uint64_t version_ = 0;
};

}  // namespace service
