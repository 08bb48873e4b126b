#include "platform/service/patch_graph.h"

#include <cassert>

namespace service {

PatchGraph::PatchGraph(const device::Topology& topology, const std::vector<device::Link>& initial)
    : topology_(topology) {
  begin(initial);
}

void PatchGraph::begin(const std::vector<device::Link>& initial) {
  assert(links_.empty() || links_.begin()->first >= 0);
  auto order = -static_cast<std::int64_t>(initial.size());
  for (const device::Link& link : initial) {
    if (topology_.exists(link.source()) && topology_.exists(link.sink())) insert(link, Carrier::Service, order++);
  }
}

device::Status PatchGraph::connect(const device::Link& link, Carrier carrier) {
  if (!topology_.exists(link.source()) || !topology_.exists(link.sink())) return device::Status::NotFound;
  if (insert(link, carrier, nextOrder_)) {
    ++nextOrder_;
    ++version_;
  }
  return device::Status::Ok;
}

device::Status PatchGraph::disconnect(const device::Link& link) {
  const auto found = orders_.find(link);
  if (found == orders_.end()) return device::Status::NotFound;
  const std::int64_t order = found->second;
  orders_.erase(found);
  links_.erase(order);
  forget(link.source(), order);
  forget(link.sink(), order);
  ++version_;
  return device::Status::Ok;
}

std::vector<device::Link> PatchGraph::orphans() const {
  std::vector<device::Link> orphans;
  for (const auto& [order, link] : links_) {
    if (!topology_.exists(link.source()) || !topology_.exists(link.sink())) orphans.push_back(link);
  }
  return orphans;
}

const PatchGraph::Neighbours& PatchGraph::neighbours(device::PortId port) const {
  const auto found = neighbours_.find(port);
  return found == neighbours_.end() ? none_ : found->second;
}

std::vector<device::Link> PatchGraph::links() const {
  std::vector<device::Link> all;
  all.reserve(links_.size());
  for (const auto& [order, link] : links_) all.push_back(link);
  return all;
}

std::optional<PatchGraph::Carrier> PatchGraph::carrier(const device::Link& link) const {
  const auto found = orders_.find(link);
  if (found == orders_.end()) return std::nullopt;
  return neighbours(link.source()).at(found->second).carrier;
}

// Returns false if the connection already exists.
bool PatchGraph::insert(const device::Link& link, Carrier carrier, std::int64_t order) {
  if (!orders_.emplace(link, order).second) return false;
  links_.emplace_hint(links_.end(), order, link);
  neighbours_[link.source()].emplace(order, Neighbour{link.sink(), carrier});
  neighbours_[link.sink()].emplace(order, Neighbour{link.source(), carrier});
  return true;
}

void PatchGraph::forget(device::PortId port, std::int64_t order) {
  const auto found = neighbours_.find(port);
  found->second.erase(order);
  if (found->second.empty()) neighbours_.erase(found);
}

}  // namespace service
