// A client's copy of the patch graph.
#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>

#include "platform/client/peer_list.h"
#include "platform/wire/messages.h"
#include "strmsrv.h"

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
  std::span<const StrmSrv::PortRecord> sourcesOf(StrmSrv::PortRecord sink) { return peers(sources_, sink); }
  std::span<const StrmSrv::PortRecord> sinksOf(StrmSrv::PortRecord source) { return peers(sinks_, source); }

 private:
  using Peers = std::unordered_map<StrmSrv::PortRecord, PeerList, PortHash>;

  static std::span<const StrmSrv::PortRecord> peers(Peers& of, StrmSrv::PortRecord port);
  static void drop(Peers& of, StrmSrv::PortRecord port, StrmSrv::PortRecord peer);

  Peers sources_;
  Peers sinks_;
  std::uint64_t version_ = 0;
};

}  // namespace client
