// A client's copy of the patch graph.
#pragma once

#include <cstdint>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>

#include "platform/client/peer_list.h"
#include "platform/client/service_port.h"
#include "platform/wire/messages.h"

namespace client {

// Connections by both of their ports, each port's in the order of making. A lookup costs no more than the port has
// connections, and a change the same however many they are.
class LinkMirror {
 public:
  // Becomes the whole graph.
  void reset(const wire::Links& links);

  // Makes a change. What the mirror has seen already is ignored. False, and nothing changed, when changes are missing
  // between the mirror and this one: then it must be reset.
  bool apply(const wire::GraphChanged& change);

  // Of the graph that it holds.
  std::uint64_t version() const { return version_; }

  // Valid until the next change.
  std::span<const ServicePort> sourcesOf(ServicePort sink) { return peers(sources_, sink); }
  std::span<const ServicePort> sinksOf(ServicePort source) { return peers(sinks_, source); }

  // A connection: its source and its sink.
  using Ends = std::pair<ServicePort, ServicePort>;

  // Those that the service carries from one system to another, in the order of their ports. Valid until the next
  // change.
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

}  // namespace client
