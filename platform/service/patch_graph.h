// Which source port is connected to which sink port.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/port_hash.h"
#include "platform/device/status.h"
#include "platform/device/topology.h"

namespace service {

// The connections of a device, in the order of creation. A change takes at most logarithmic time in the number of
// connections. Looking up a port costs no more than its own connections.
class PatchGraph {
 public:
  // Which side carries messages along a connection: the service, or the device itself.
  enum class Carrier : std::uint8_t { Service, Device };

  // The port at the other end of a connection.
  struct Neighbour {
    device::PortId port;
    Carrier carrier = Carrier::Service;
  };

  // A port's connections, by a number that grows with each connection made.
  using Neighbours = std::map<std::int64_t, Neighbour>;

  // topology says which ports exist, and must outlive the graph. initial: see begin.
  explicit PatchGraph(const device::Topology& topology, const std::vector<device::Link>& initial = {});

  // Enters the connections of version 0. They come before all others, even those that were made before this call. Those
  // between ports that do not exist are left out. Call this once at most with any.
  void begin(const std::vector<device::Link>& initial);

  // Ok, without a change, if the connection already exists; NotFound if one of its ports does not exist.
  device::Status connect(const device::Link& link, Carrier carrier = Carrier::Service);

  // NotFound if there is no such connection.
  device::Status disconnect(const device::Link& link);

  // Returns the connections of ports that no longer exist, in the order of creation.
  std::vector<device::Link> orphans() const;

  // Returns the sinks of a source or the sources of a sink, in the order of creation; empty if the port has none or
  // does not exist. Valid until the next change.
  const Neighbours& neighbours(device::PortId port) const;

  // All connections, in the order of creation.
  std::vector<device::Link> links() const;

  // Returns who carries a connection; nullopt if it does not exist.
  std::optional<Carrier> carrier(const device::Link& link) const;

  std::size_t size() const { return orders_.size(); }

  // The number of changes made.
  std::uint64_t version() const { return version_; }

 private:
  bool insert(const device::Link& link, Carrier carrier, std::int64_t order);
  void forget(device::PortId port, std::int64_t order);

  const device::Topology& topology_;
  std::map<std::int64_t, device::Link> links_;
  std::unordered_map<device::Link, std::int64_t, device::LinkHash> orders_;
  std::unordered_map<device::PortId, Neighbours, device::PortHash> neighbours_;
  Neighbours none_;             // for ports without connections
  std::int64_t nextOrder_ = 0;  // initial connections have negative numbers
  std::uint64_t version_ = 0;
};

}  // namespace service
