// Which source port is connected to which sink port.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/status.h"
#include "platform/device/topology.h"
#include "platform/service/port_map.h"

namespace service {

// The connections of a device, in the order of creation. A change takes at most logarithmic time in the number of
// connections. Looking up a port costs no more than its own connections.
class PatchGraph {
 public:
  // What a connection takes in all tables.
  static constexpr std::size_t LinkBytes = 352;

  // Which side carries messages along a connection: the service, or the device itself.
  enum class Carrier : std::uint8_t { Service, Device };

  // A connection of the whole list.
  struct Entry {
    device::Link link;
    Carrier carrier = Carrier::Service;
  };

  // The port at the other end of a connection.
  struct Neighbour {
    device::PortId port;
    Carrier carrier = Carrier::Service;
  };

  // Connections by a number that grows with each connection made: all, and those of a port.
  using Entries = std::map<std::int64_t, Entry>;
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

  // The topology has changed: the connections of ports that no longer exist are severed. A severed connection carries
  // nothing any more and does not come back with its ports, but stays in the graph until it is disconnected.
  void severMissing();

  // Returns up to `most` severed connections, those of one port in the order of creation.
  std::vector<device::Link> severed(std::size_t most);

  bool hasSevered();

  // How many ports severed looks at, at most.
  std::size_t severedPorts() const;

  // Takes no time while nothing is severed.
  bool isSevered(const device::Link& link) const;

  // Returns the sinks of a source or the sources of a sink, in the order of creation; empty if the port has none or
  // does not exist. Valid until the next change.
  const Neighbours& neighbours(device::PortId port) const;

  // True if the service carries one of the port's connections.
  bool isCarriedByService(device::PortId port) const;

  // All connections, in the order of creation. Valid until the next change.
  const Entries& entries() const { return links_; }

  // The number of the next connection made.
  std::int64_t nextNumber() const { return nextOrder_; }

  // Like entries, without the numbers.
  std::vector<device::Link> links() const;

  // Returns who carries a connection; nullopt if it does not exist.
  std::optional<Carrier> carrier(const device::Link& link) const;

  std::size_t size() const { return orders_.size(); }

  // The number of changes made.
  std::uint64_t version() const { return version_; }

 private:
  struct Ends {
    Neighbours neighbours;
    std::size_t byService = 0;
    // Connections with lower numbers are severed.
    std::int64_t severedBelow = std::numeric_limits<std::int64_t>::min();
    bool isListed = false;  // stands in severedPorts_
  };

  bool insert(const device::Link& link, Carrier carrier, std::int64_t order);
  void forget(device::PortId port, std::int64_t order);
  bool isSeveredAt(device::PortId port, std::int64_t order) const;

  const device::Topology& topology_;
  Entries links_;
  // Ordered, because a hash table would now and then move all its entries at once.
  std::map<device::Link, std::int64_t> orders_;
  PortMap<Ends> ends_;
  std::deque<device::PortId> severedPorts_;  // may have severed connections
  Neighbours none_;                          // for ports without connections
  std::int64_t nextOrder_ = 0;               // initial connections have negative numbers
  std::uint64_t version_ = 0;
};

}  // namespace service
