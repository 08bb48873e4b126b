#include "platform/channel/carried_links.h"

#include <unordered_map>

namespace channel {
namespace {

// Names by handle and index.
class Names {
 public:
  explicit Names(const wire::Topology& topology) {
    for (const wire::TopologyGroup& group : topology.groups) groups_.emplace(group.handle, &group);
  }

  // Returns nullopt if the port does not exist.
  std::optional<std::string> name(ServicePort port, bool sink) const {
    const auto found = groups_.find(port.group);
    if (found == groups_.end()) return std::nullopt;
    const auto& side = found->second->side(sink);
    if (!side || !side->has(port.index)) return std::nullopt;
    return side->names.empty() ? side->prefix + std::to_string(port.index + 1) : side->names[port.index];
  }

 private:
  std::unordered_map<std::uint64_t, const wire::TopologyGroup*> groups_;
};

}  // namespace

void CarriedLinks::keep(const LinkMirror& mirror, const wire::Topology& topology) {
  if (mirror.carried().empty()) return;
  const Names names(topology);
  for (const auto& [source, sink] : mirror.carried()) {
    auto from = names.name(source, false);
    auto to = names.name(sink, true);
    if (from && to) links_.emplace(std::move(*from), std::move(*to));
  }
}

std::optional<std::string> CarriedLinks::compare(const wire::Links& links, const wire::Topology& topology) {
  auto lost = std::exchange(links_, {});
  const Names names(topology);
  for (const wire::LinkRecord& link : links.links) {
    const auto from = names.name({link.sourceGroup, link.sourceIndex}, false);
    const auto to = names.name({link.sinkGroup, link.sinkIndex}, true);
    if (from && to) lost.erase({*from, *to});
  }
  if (lost.empty()) return std::nullopt;
  const auto& [from, to] = *lost.begin();
  std::string text = "lost when the service restarted: the connection of \"" + from + "\" to \"" + to + '"';
  if (lost.size() > 1) text += " and " + std::to_string(lost.size() - 1) + " more between two systems";
  return text;
}

}  // namespace channel
