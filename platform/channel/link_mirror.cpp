#include "platform/channel/link_mirror.h"

namespace channel {
namespace {

ServicePort sourceOf(const wire::LinkRecord& link) { return {link.sourceGroup, link.sourceIndex}; }
ServicePort sinkOf(const wire::LinkRecord& link) { return {link.sinkGroup, link.sinkIndex}; }

}  // namespace

void LinkMirror::reset(const wire::Links& links) {
  sources_.clear();
  sinks_.clear();
  carried_.clear();
  for (const wire::LinkRecord& link : links.links) add(link);
  version_ = links.version;
}

bool LinkMirror::apply(const wire::GraphChanged& change) {
  if (change.version <= version_) return true;
  if (change.version != version_ + 1) return false;
  const ServicePort source = sourceOf(change.link);
  const ServicePort sink = sinkOf(change.link);
  if (change.added) {
    add(change.link);
  } else {
    carried_.erase({source, sink});
    drop(sources_, sink, source);
    drop(sinks_, source, sink);
  }
  version_ = change.version;
  return true;
}

void LinkMirror::add(const wire::LinkRecord& link) {
  sources_[sinkOf(link)].add(sourceOf(link));
  sinks_[sourceOf(link)].add(sinkOf(link));
  if (link.carried) carried_.emplace(sourceOf(link), sinkOf(link));
}

std::span<const ServicePort> LinkMirror::peers(Peers& of, ServicePort port) {
  const auto found = of.find(port);
  return found == of.end() ? std::span<const ServicePort>{} : found->second.all();
}

void LinkMirror::drop(Peers& of, ServicePort port, ServicePort peer) {
  const auto found = of.find(port);
  if (found == of.end()) return;
  found->second.remove(peer);
  if (found->second.empty()) of.erase(found);
}

}  // namespace channel
