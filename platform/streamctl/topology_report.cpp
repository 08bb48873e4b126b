#include "platform/streamctl/topology_report.h"

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/client/port_names.h"
#include "platform/streamctl/json_text.h"
#include "platform/streamctl/text_table.h"
#include "platform/wire/printable.h"

namespace streamctl {
namespace {

using client::PortNames;
using client::Side;

// The names of the ports at the other ends, with a blank between, by group and index of one side's ports.
using Peers = std::unordered_map<std::uint32_t, std::string>;

std::uint32_t key(std::uint16_t group, std::uint16_t index) { return std::uint32_t{group} << 16U | index; }

void enter(Peers& peers, std::uint32_t port, const std::string& peer) {
  std::string& names = peers[port];
  if (!names.empty()) names += ' ';
  names += wire::printable(peer);
}

using Rows = std::vector<std::vector<std::string>>;

void addSide(const wire::TopologyGroup& group, Side side, const PortNames& names, const Peers& peers, Rows& rows) {
  const auto& ports = side == Side::Source ? group.sources : group.sinks;
  if (!ports) return;
  const std::string id = std::to_string(group.id);
  const std::string name = wire::printable(group.name);
  const std::string word = side == Side::Source ? "source" : "sink";
  if (ports->count == 0) rows.push_back({id, name, word, "", ""});
  for (std::uint16_t index = 0; index < ports->count; ++index) {
    const auto found = peers.find(key(group.id, index));
    rows.push_back({id, name, word, wire::printable(names.name(group.id, index, side)),
                    found == peers.end() ? std::string() : found->second});
  }
}

Json sideJson(const std::optional<wire::TopologySide>& ports, std::uint16_t group, Side side, const PortNames& names) {
  if (!ports) return nullptr;
  Json list = Json::array();
  for (std::uint16_t index = 0; index < ports->count; ++index) list.push_back(names.name(group, index, side));
  return list;
}

}  // namespace

std::string topologyText(const wire::Topology& topology, const wire::Links& links) {
  const PortNames names(topology);
  Peers sinksOf;
  Peers sourcesOf;
  for (const wire::LinkRecord& link : links.links) {
    enter(sinksOf, key(link.sourceGroup, link.sourceIndex), names.name(link.sinkGroup, link.sinkIndex, Side::Sink));
    enter(sourcesOf, key(link.sinkGroup, link.sinkIndex), names.name(link.sourceGroup, link.sourceIndex, Side::Source));
  }
  Rows rows{{"GROUP", "NAME", "SIDE", "PORT", "CONNECTIONS"}};
  for (const wire::TopologyGroup& group : topology.groups) {
    addSide(group, Side::Source, names, sinksOf, rows);
    addSide(group, Side::Sink, names, sourcesOf, rows);
    if (!group.sources && !group.sinks) {
      rows.push_back({std::to_string(group.id), wire::printable(group.name), "", "", ""});
    }
  }
  return textTable(rows);
}

std::string topologyJson(const wire::Topology& topology, const wire::Links& links) {
  const PortNames names(topology);
  Json groups = Json::array();
  for (const wire::TopologyGroup& group : topology.groups) {
    groups.push_back({{"id", group.id},
                      {"name", group.name},
                      {"sources", sideJson(group.sources, group.id, Side::Source, names)},
                      {"sinks", sideJson(group.sinks, group.id, Side::Sink, names)}});
  }
  Json connections = Json::array();
  for (const wire::LinkRecord& link : links.links) {
    connections.push_back({{"source", names.name(link.sourceGroup, link.sourceIndex, Side::Source)},
                           {"sink", names.name(link.sinkGroup, link.sinkIndex, Side::Sink)}});
  }
  return jsonText(Json{{"groups", std::move(groups)}, {"connections", std::move(connections)}}, 2) + '\n';
}

}  // namespace streamctl
