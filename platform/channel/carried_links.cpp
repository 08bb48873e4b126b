#include "platform/channel/carried_links.h"

#include "platform/device/topology.h"

namespace channel {
namespace {

// Returns nullopt if the port does not exist.
std::optional<std::string> nameIn(const device::Topology& topology, device::PortId port) {
  return topology.exists(port) ? std::optional(topology.name(port)) : std::nullopt;
}

}  // namespace

void CarriedLinks::keep(const LinkMirror& mirror, const wire::Topology& topology) {
  if (mirror.carried().empty()) return;
  const device::Topology ports(topology.groups);
  for (const device::Link& link : mirror.carried()) {
    auto from = nameIn(ports, link.source());
    auto to = nameIn(ports, link.sink());
    if (from && to) links_.emplace(std::move(*from), std::move(*to));
  }
}

std::optional<std::string> CarriedLinks::compare(const wire::Links& links, const wire::Topology& topology) {
  auto lost = std::exchange(links_, {});
  const device::Topology ports(topology.groups);
  for (const wire::LinkRecord& record : links.links) {
    const auto from = nameIn(ports, record.link.source());
    const auto to = nameIn(ports, record.link.sink());
    if (from && to) lost.erase({*from, *to});
  }
  if (lost.empty()) return std::nullopt;
  const auto& [from, to] = *lost.begin();
  std::string text = "lost when the service restarted: the connection of \"" + from + "\" to \"" + to + '"';
  if (lost.size() > 1) text += " and " + std::to_string(lost.size() - 1) + " more between two systems";
  return text;
}

}  // namespace channel
