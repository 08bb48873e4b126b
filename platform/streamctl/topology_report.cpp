#include "platform/streamctl/topology_report.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
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
  names += peer;
}

// What groups and ports are called in the systems that they come from.
class OriginalNames {
 public:
  explicit OriginalNames(const wire::Originals& originals) {
    for (const wire::OriginalGroup& group : originals.groups) byId_.emplace(group.id, &group);
  }

  bool any() const { return !byId_.empty(); }

  const wire::OriginalGroup* group(std::uint16_t id) const {
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : found->second;
  }

  // Empty for a port that comes from no other system.
  std::string port(std::uint16_t group, std::uint16_t index, Side side) const {
    const wire::OriginalGroup* known = this->group(group);
    if (known == nullptr) return {};
    const auto& names = side == Side::Source ? known->sources : known->sinks;
    return index < names.size() ? text(names[index]) : std::string();
  }

  static std::string text(const wire::Original& name) { return {name.begin(), name.end()}; }

 private:
  std::unordered_map<std::uint16_t, const wire::OriginalGroup*> byId_;
};

using Row = std::vector<std::string>;

// The rows of a table, whose column of original names is left out when there are none.
class Rows {
 public:
  Rows(const PortNames& names, const OriginalNames& originals, wire::TextEncoding encoding)
      : names_(names), originals_(originals), encoding_(encoding) {
    add({"GROUP", "NAME", "SIDE", "PORT"}, "ORIGINAL", "CONNECTIONS");
  }

  void addSide(const wire::TopologyGroup& group, Side side, const Peers& peers) {
    const auto& ports = side == Side::Source ? group.sources : group.sinks;
    if (!ports) return;
    const Row front{std::to_string(group.id), printable(group.name), side == Side::Source ? "source" : "sink"};
    const auto addPort = [&](const std::string& name, const std::string& original, const std::string& connections) {
      Row row = front;
      row.push_back(name);
      add(std::move(row), original, connections);
    };
    if (ports->count == 0) addPort({}, {}, {});
    for (std::uint16_t index = 0; index < ports->count; ++index) {
      if (!ports->has(index)) continue;
      const auto found = peers.find(key(group.id, index));
      addPort(printable(names_.name(group.id, index, side)), printable(originals_.port(group.id, index, side)),
              found == peers.end() ? std::string() : printable(found->second));
    }
  }

  void addBare(const wire::TopologyGroup& group) {
    add({std::to_string(group.id), printable(group.name), {}, {}}, {}, {});
  }

  std::string text() const { return textTable(rows_); }

 private:
  std::string printable(const std::string& name) const { return wire::printable(name, encoding_); }

  void add(Row front, const std::string& original, const std::string& connections) {
    if (originals_.any()) front.push_back(original);
    front.push_back(connections);
    rows_.push_back(std::move(front));
  }

  const PortNames& names_;
  const OriginalNames& originals_;
  wire::TextEncoding encoding_;
  std::vector<Row> rows_;
};

Json sideJson(const std::optional<wire::TopologySide>& ports,
              const std::function<std::string(std::uint16_t index)>& name) {
  if (!ports) return nullptr;
  Json list = Json::array();
  for (std::uint16_t index = 0; index < ports->count; ++index) {
    if (ports->has(index)) list.push_back(name(index));
  }
  return list;
}

Json groupJson(const wire::TopologyGroup& group, const PortNames& names, const OriginalNames& originals) {
  const auto nameOn = [&](Side side) { return [&, side](std::uint16_t at) { return names.name(group.id, at, side); }; };
  const auto originalOn = [&](Side side) {
    return [&, side](std::uint16_t at) { return originals.port(group.id, at, side); };
  };
  Json json{{"id", group.id},
            {"name", group.name},
            {"sources", sideJson(group.sources, nameOn(Side::Source))},
            {"sinks", sideJson(group.sinks, nameOn(Side::Sink))}};
  if (const wire::OriginalGroup* original = originals.group(group.id)) {
    json["original"] = OriginalNames::text(original->name);
    json["original_sources"] = sideJson(group.sources, originalOn(Side::Source));
    json["original_sinks"] = sideJson(group.sinks, originalOn(Side::Sink));
  }
  return json;
}

}  // namespace

std::string topologyText(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals,
                         wire::TextEncoding encoding) {
  const PortNames names(topology);
  const OriginalNames originalNames(originals);
  Peers sinksOf;
  Peers sourcesOf;
  for (const wire::LinkRecord& link : links.links) {
    enter(sinksOf, key(link.sourceGroup, link.sourceIndex), names.name(link.sinkGroup, link.sinkIndex, Side::Sink));
    enter(sourcesOf, key(link.sinkGroup, link.sinkIndex), names.name(link.sourceGroup, link.sourceIndex, Side::Source));
  }
  Rows rows(names, originalNames, encoding);
  for (const wire::TopologyGroup& group : topology.groups) {
    rows.addSide(group, Side::Source, sinksOf);
    rows.addSide(group, Side::Sink, sourcesOf);
    if (!group.sources && !group.sinks) rows.addBare(group);
  }
  return rows.text();
}

std::string topologyJson(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals) {
  const PortNames names(topology);
  const OriginalNames originalNames(originals);
  Json groups = Json::array();
  for (const wire::TopologyGroup& group : topology.groups) groups.push_back(groupJson(group, names, originalNames));
  Json connections = Json::array();
  for (const wire::LinkRecord& link : links.links) {
    connections.push_back({{"source", names.name(link.sourceGroup, link.sourceIndex, Side::Source)},
                           {"sink", names.name(link.sinkGroup, link.sinkIndex, Side::Sink)}});
  }
  return jsonText(Json{{"groups", std::move(groups)}, {"connections", std::move(connections)}}, 2) + '\n';
}

}  // namespace streamctl
