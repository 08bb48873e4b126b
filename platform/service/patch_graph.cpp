#include "platform/service/patch_graph.h"

#include <cassert>
#include <utility>

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

void PatchGraph::severMissing() {
  for (const device::PortId port : ends_.missing(topology_, ends_.size())) {
    Ends& ends = *ends_.find(port);
    ends.severedBelow = nextOrder_;
    // A port that is looked at already need not be looked at twice.
    if (!std::exchange(ends.isListed, true)) severedPorts_.push_back(port);
  }
}

std::size_t PatchGraph::severedPorts() const { return severedPorts_.size(); }

std::vector<device::Link> PatchGraph::severed(std::size_t most) {
  std::map<std::int64_t, device::Link> found;
  for (auto left = severedPorts_.size(); left > 0 && found.size() < most && hasSevered(); --left) {
    const device::PortId port = severedPorts_.front();
    for (const auto& [order, neighbour] : neighbours(port)) {
      if (found.size() == most || !isSeveredAt(port, order)) break;
      found.emplace(order, links_.at(order).link);
    }
    severedPorts_.pop_front();
    severedPorts_.push_back(port);
  }
  std::vector<device::Link> links;
  links.reserve(found.size());
  for (const auto& [order, link] : found) links.push_back(link);
  return links;
}

bool PatchGraph::hasSevered() {
  while (!severedPorts_.empty()) {
    const device::PortId port = severedPorts_.front();
    const Neighbours& left = neighbours(port);
    if (!left.empty() && isSeveredAt(port, left.begin()->first)) return true;
    if (Ends* ends = ends_.find(port)) ends->isListed = false;
    severedPorts_.pop_front();
  }
  return false;
}

bool PatchGraph::isSevered(const device::Link& link) const {
  if (severedPorts_.empty()) return false;
  const auto found = orders_.find(link);
  return found != orders_.end() &&
         (isSeveredAt(link.source(), found->second) || isSeveredAt(link.sink(), found->second));
}

const PatchGraph::Neighbours& PatchGraph::neighbours(device::PortId port) const {
  const Ends* ends = ends_.find(port);
  return ends == nullptr ? none_ : ends->neighbours;
}

bool PatchGraph::isCarriedByService(device::PortId port) const {
  const Ends* ends = ends_.find(port);
  return ends != nullptr && ends->byService > 0;
}

std::vector<device::Link> PatchGraph::links() const {
  std::vector<device::Link> all;
  all.reserve(links_.size());
  for (const auto& [order, entry] : links_) all.push_back(entry.link);
  return all;
}

std::optional<PatchGraph::Carrier> PatchGraph::carrier(const device::Link& link) const {
  const auto found = orders_.find(link);
  if (found == orders_.end()) return std::nullopt;
  return links_.at(found->second).carrier;
}

// Returns false if the connection already exists.
bool PatchGraph::insert(const device::Link& link, Carrier carrier, std::int64_t order) {
  if (!orders_.emplace(link, order).second) return false;
  links_.emplace_hint(links_.end(), order, Entry{link, carrier});
  for (const auto& [port, other] : {std::pair{link.source(), link.sink()}, std::pair{link.sink(), link.source()}}) {
    Ends& ends = ends_[port];
    ends.neighbours.emplace_hint(ends.neighbours.end(), order, Neighbour{other, carrier});
    if (carrier == Carrier::Service) ++ends.byService;
  }
  return true;
}

void PatchGraph::forget(device::PortId port, std::int64_t order) {
  Ends* ends = ends_.find(port);
  const auto found = ends->neighbours.find(order);
  if (found->second.carrier == Carrier::Service) --ends->byService;
  ends->neighbours.erase(found);
  if (ends->neighbours.empty()) ends_.erase(port);
}

bool PatchGraph::isSeveredAt(device::PortId port, std::int64_t order) const {
  const Ends* ends = ends_.find(port);
  return ends != nullptr && order < ends->severedBelow;
}

}  // namespace service
