#include "platform/channel/link_mirror.h"

#include <algorithm>

namespace channel {

void LinkMirror::reset(const wire::Links& links) {
  peers_.clear();
  carried_.clear();
  for (const wire::LinkRecord& record : links.links) add(record);
  version_ = links.version;
}

bool LinkMirror::apply(const wire::GraphChanged& change) {
  if (change.version <= version_) return true;
  if (change.version != version_ + 1) return false;
  if (change.added) {
    add(change.link);
  } else {
    const device::Link& link = change.link.link;
    carried_.erase(link);
    drop(link.source(), link.sink());
    drop(link.sink(), link.source());
  }
  version_ = change.version;
  return true;
}

void LinkMirror::add(const wire::LinkRecord& record) {
  const device::Link& link = record.link;
  peers_[link.source()].add(link.sink());
  peers_[link.sink()].add(link.source());
  if (record.carried) carried_.insert(link);
}

std::span<const device::PortId> LinkMirror::peers(device::PortId port) {
  const auto found = peers_.find(port);
  return found == peers_.end() ? std::span<const device::PortId>{} : found->second.all();
}

bool LinkMirror::contains(const device::Link& link) {
  const auto sinks = peers(link.source());
  return std::ranges::find(sinks, link.sink()) != sinks.end();
}

void LinkMirror::drop(device::PortId port, device::PortId peer) {
  const auto found = peers_.find(port);
  if (found == peers_.end()) return;
  found->second.remove(peer);
  if (found->second.empty()) peers_.erase(found);
}

}  // namespace channel
