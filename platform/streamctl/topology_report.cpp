#include "platform/streamctl/topology_report.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/client/group_ids.h"
#include "platform/client/port_names.h"
#include "platform/streamctl/json_text.h"
#include "platform/streamctl/text_table.h"
#include "platform/system/printable.h"

namespace streamctl {
namespace {

using channel::ServicePort;
using channel::ServicePortHash;
using client::PortNames;
using device::Side;

// For each port of one side, the names of its peers, separated by blanks.
using Peers = std::unordered_map<ServicePort, std::string, ServicePortHash>;

void enter(Peers& peers, ServicePort port, const std::string& peer) {
  std::string& names = peers[port];
  if (!names.empty()) names += ' ';
  names += peer;
}

// The names of groups and ports in the systems that they come from.
class OriginalNames {
 public:
  explicit OriginalNames(const wire::Originals& originals) {
    for (const wire::OriginalGroup& group : originals.groups) byHandle_.emplace(group.handle, &group);
  }

  bool any() const { return !byHandle_.empty(); }

  const wire::OriginalGroup* group(std::uint64_t handle) const {
    const auto found = byHandle_.find(handle);
    return found == byHandle_.end() ? nullptr : found->second;
  }

  // Empty for a port that does not come from another system.
  std::string port(std::uint64_t group, std::uint16_t index, Side side) const {
    const wire::OriginalGroup* known = this->group(group);
    if (known == nullptr) return {};
    const auto& names = side == Side::Source ? known->sources : known->sinks;
    return index < names.size() ? text(names[index]) : std::string();
  }

  static std::string text(const wire::Original& name) { return {name.begin(), name.end()}; }

 private:
  std::unordered_map<std::uint64_t, const wire::OriginalGroup*> byHandle_;
};

using Row = std::vector<std::string>;

// The rows of a table. The column of original names is left out if there are none.
class Rows {
 public:
  Rows(const PortNames& names, const OriginalNames& originals, sys::TextEncoding encoding)
      : names_(names), originals_(originals), encoding_(encoding) {
    add({"GROUP", "NAME", "SIDE", "PORT"}, "ORIGINAL", "CONNECTIONS");
  }

  void addSide(const wire::TopologyGroup& group, Side side, const Peers& peers) {
    const auto& ports = side == Side::Source ? group.sources : group.sinks;
    if (!ports) return;
    const Row front{std::to_string(*group.id), printable(group.name), side == Side::Source ? "source" : "sink"};
    const auto addPort = [&](const std::string& name, const std::string& original, const std::string& connections) {
      Row row = front;
      row.push_back(name);
      add(std::move(row), original, connections);
    };
    if (ports->count == 0) addPort({}, {}, {});
    for (std::uint16_t index = 0; index < ports->count; ++index) {
      if (!ports->has(index)) continue;
      const auto found = peers.find({group.handle, index});
      addPort(printable(names_.name(*group.id, index, side)), printable(originals_.port(group.handle, index, side)),
              found == peers.end() ? std::string() : printable(found->second));
    }
  }

  void addBare(const wire::TopologyGroup& group) {
    add({std::to_string(*group.id), printable(group.name), {}, {}}, {}, {});
  }

  std::string text() const { return textTable(rows_); }

 private:
  std::string printable(const std::string& name) const { return sys::printable(name, encoding_); }

  void add(Row front, const std::string& original, const std::string& connections) {
    if (originals_.any()) front.push_back(original);
    front.push_back(connections);
    rows_.push_back(std::move(front));
  }

  const PortNames& names_;
  const OriginalNames& originals_;
  sys::TextEncoding encoding_;
  std::vector<Row> rows_;
};

JsonValue sideJson(const std::optional<wire::TopologySide>& ports,
                   const std::function<std::string(std::uint16_t index)>& name) {
  if (!ports) return nullptr;
  JsonValue list = JsonValue::array();
  for (std::uint16_t index = 0; index < ports->count; ++index) {
    if (ports->has(index)) list.push_back(name(index));
  }
  return list;
}

JsonValue groupJson(const wire::TopologyGroup& group, const PortNames& names, const OriginalNames& originals) {
  const auto nameOn = [&](Side side) {
    return [&, side](std::uint16_t at) { return names.name(*group.id, at, side); };
  };
  const auto originalOn = [&](Side side) {
    return [&, side](std::uint16_t at) { return originals.port(group.handle, at, side); };
  };
  JsonValue json{{"id", *group.id},
                 {"name", group.name},
                 {"sources", sideJson(group.sources, nameOn(Side::Source))},
                 {"sinks", sideJson(group.sinks, nameOn(Side::Sink))}};
  if (const wire::OriginalGroup* original = originals.group(group.handle)) {
    json["original"] = OriginalNames::text(original->name);
    json["original_sources"] = sideJson(group.sources, originalOn(Side::Source));
    json["original_sinks"] = sideJson(group.sinks, originalOn(Side::Sink));
  }
  return json;
}

// Names ports by the handles of their groups.
class Device {
 public:
  explicit Device(const wire::Topology& topology) : names_(client::withGroupIds(topology)) {
    for (const wire::TopologyGroup& group : names_.topology().groups) ids_.emplace(group.handle, *group.id);
  }

  const PortNames& names() const { return names_; }
  const std::vector<wire::TopologyGroup>& groups() const { return names_.topology().groups; }

  // A port of a group that was just added or removed gets the name of one that does not exist.
  std::string source(const wire::LinkRecord& link) const {
    return name(link.sourceGroup, link.sourceIndex, Side::Source);
  }
  std::string sink(const wire::LinkRecord& link) const { return name(link.sinkGroup, link.sinkIndex, Side::Sink); }

 private:
  std::string name(std::uint64_t group, std::uint16_t index, Side side) const {
    const auto id = ids_.find(group);
    return names_.name(id == ids_.end() ? NoGroup : id->second, index, side);
  }

  static constexpr std::uint16_t NoGroup = 65535;

  PortNames names_;
  std::unordered_map<std::uint64_t, std::uint16_t> ids_;
};

}  // namespace

std::string topologyText(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals,
                         sys::TextEncoding encoding) {
  const Device device(topology);
  const OriginalNames originalNames(originals);
  Peers sinksOf;
  Peers sourcesOf;
  for (const wire::LinkRecord& link : links.links) {
    enter(sinksOf, {link.sourceGroup, link.sourceIndex}, device.sink(link));
    enter(sourcesOf, {link.sinkGroup, link.sinkIndex}, device.source(link));
  }
  Rows rows(device.names(), originalNames, encoding);
  for (const wire::TopologyGroup& group : device.groups()) {
    rows.addSide(group, Side::Source, sinksOf);
    rows.addSide(group, Side::Sink, sourcesOf);
    if (!group.sources && !group.sinks) rows.addBare(group);
  }
  return rows.text();
}

std::string topologyJson(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals) {
  const Device device(topology);
  const OriginalNames originalNames(originals);
  JsonValue groups = JsonValue::array();
  for (const wire::TopologyGroup& group : device.groups()) {
    groups.push_back(groupJson(group, device.names(), originalNames));
  }
  JsonValue connections = JsonValue::array();
  for (const wire::LinkRecord& link : links.links) {
    connections.push_back({{"source", device.source(link)}, {"sink", device.sink(link)}});
  }
  return jsonText(JsonValue{{"groups", std::move(groups)}, {"connections", std::move(connections)}}, 2) + '\n';
}

}  // namespace streamctl
