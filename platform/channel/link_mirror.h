// A client's copy of the patch graph.
#pragma once

#include <cstdint>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>

#include "platform/channel/peer_list.h"
#include "platform/channel/service_port.h"
#include "platform/wire/messages.h"

namespace channel {

// Connections by source and by sink, each port's in the order of making. A lookup takes time in proportion to the
// port's connections at most; a change takes the same time however many there are.
class LinkMirror {
 public:
  // Replaces the content with the whole graph.
  void reset(const wire::Links& links);

  // Applies a change. Ignores one that the mirror contains already. Returns false and changes nothing if changes
  // between the mirror and this one are missing: then the mirror must be reset.
  bool apply(const wire::GraphChanged& change);

  // The version of the graph that it holds.
  std::uint64_t version() const { return version_; }

  // Valid until the next change.
  std::span<const ServicePort> sourcesOf(ServicePort sink) { return peers(sources_, sink); }
  std::span<const ServicePort> sinksOf(ServicePort source) { return peers(sinks_, source); }

  // A connection: its source and its sink.
  using Ends = std::pair<ServicePort, ServicePort>;

  // The connections that the service carries from one system to another, in the order of their ports. Valid until the
  // next change.
  const std::set<Ends>& carried() const { return carried_; }

 private:
  using Peers = std::unordered_map<ServicePort, PeerList, ServicePortHash>;

  void add(const wire::LinkRecord& link);
  static std::span<const ServicePort> peers(Peers& of, ServicePort port);
  static void drop(Peers& of, ServicePort port, ServicePort peer);

  Peers sources_;
  Peers sinks_;
  std::set<Ends> carried_;
  std::uint64_t version_ = 0;
};

}  // namespace channel
