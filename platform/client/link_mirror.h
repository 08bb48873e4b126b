// A client's copy of the patch graph.
#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "platform/wire/messages.h"
#include "strmsrv.h"

namespace client {

// Connections by both of their ports, each port's in the order of making. A lookup costs no more than the port has
// connections.
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
  std::span<const StrmSrv::PortRecord> sourcesOf(StrmSrv::PortRecord sink) const { return peers(sources_, sink); }
  std::span<const StrmSrv::PortRecord> sinksOf(StrmSrv::PortRecord source) const { return peers(sinks_, source); }

 private:
  struct PortHash {
    std::size_t operator()(StrmSrv::PortRecord port) const noexcept {
      return std::hash<std::uint32_t>{}(std::uint32_t{port.groupId} << 16U | port.portIndex);
    }
  };
  using Peers = std::unordered_map<StrmSrv::PortRecord, std::vector<StrmSrv::PortRecord>, PortHash>;

  static std::span<const StrmSrv::PortRecord> peers(const Peers& of, StrmSrv::PortRecord port);
  static void drop(Peers& of, StrmSrv::PortRecord port, StrmSrv::PortRecord peer);

  Peers sources_;
  Peers sinks_;
  std::uint64_t version_ = 0;
};

}  // namespace client
