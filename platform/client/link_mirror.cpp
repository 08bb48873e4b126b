#include "platform/client/link_mirror.h"

namespace client {
namespace {

using StrmSrv::PortRecord;

PortRecord sourceOf(const wire::LinkRecord& link) { return {link.sourceGroup, link.sourceIndex}; }
PortRecord sinkOf(const wire::LinkRecord& link) { return {link.sinkGroup, link.sinkIndex}; }

}  // namespace

void LinkMirror::reset(const wire::Links& links) {
  sources_.clear();
  sinks_.clear();
  for (const wire::LinkRecord& link : links.links) {
    sources_[sinkOf(link)].add(sourceOf(link));
    sinks_[sourceOf(link)].add(sinkOf(link));
  }
  version_ = links.version;
}

bool LinkMirror::apply(const wire::GraphChanged& change) {
  if (change.version <= version_) return true;
  if (change.version != version_ + 1) return false;
  const PortRecord source = sourceOf(change.link);
  const PortRecord sink = sinkOf(change.link);
  if (change.added) {
    sources_[sink].add(source);
    sinks_[source].add(sink);
  } else {
    drop(sources_, sink, source);
    drop(sinks_, source, sink);
  }
  version_ = change.version;
  return true;
}

std::span<const PortRecord> LinkMirror::peers(Peers& of, PortRecord port) {
  const auto found = of.find(port);
  return found == of.end() ? std::span<const PortRecord>{} : found->second.all();
}

void LinkMirror::drop(Peers& of, PortRecord port, PortRecord peer) {
  const auto found = of.find(port);
  if (found == of.end()) return;
  found->second.remove(peer);
  if (found->second.empty()) of.erase(found);
}

}  // namespace client
