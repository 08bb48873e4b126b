// A client's copy of the patch graph.
#pragma once

#include <cstdint>
#include <set>
#include <span>
#include <unordered_map>

#include "platform/channel/peer_list.h"
#include "platform/device/port.h"
#include "platform/device/port_hash.h"
#include "platform/wire/messages.h"

namespace channel {

// Connections by port, each port's in the order of making. A lookup takes time in proportion to the port's connections
// at most; a change takes the same time however many there are.
class LinkMirror {
 public:
  // Replaces the content with the whole graph.
  void reset(const wire::Links& links);

  // Applies a change. Ignores one that the mirror contains already. Returns false and changes nothing if changes
  // between the mirror and this one are missing: then the mirror must be reset.
  bool apply(const wire::GraphChanged& change);

  // The version of the graph that it holds.
  std::uint64_t version() const { return version_; }

  // The sinks that a source is connected to, or the sources of a sink. Valid until the next change.
  std::span<const device::PortId> peers(device::PortId port);

  // Takes time in proportion to the connections of the source.
  bool contains(const device::Link& link);

  // The connections that the service carries from one system to another, in the order of their ports. Valid until the
  // next change.
  const std::set<device::Link>& carried() const { return carried_; }

 private:
  void add(const wire::LinkRecord& record);
  void drop(device::PortId port, device::PortId peer);

  std::unordered_map<device::PortId, PeerList, device::PortHash> peers_;
  std::set<device::Link> carried_;
  std::uint64_t version_ = 0;
};

}  // namespace channel
