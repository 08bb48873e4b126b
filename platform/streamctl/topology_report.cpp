#include "platform/streamctl/topology_report.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/channel/group_ids.h"
#include "platform/device/port_hash.h"
#include "platform/device/topology.h"
#include "platform/streamctl/json_text.h"
#include "platform/streamctl/text_table.h"
#include "platform/system/printable.h"

namespace streamctl {
namespace {

using device::Side;

// For each port, the names of its peers, separated by blanks.
using Peers = std::unordered_map<device::PortId, std::string, device::PortHash>;

void enter(Peers& peers, device::PortId port, const std::string& peer) {
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
  Rows(const OriginalNames& originals, sys::TextEncoding encoding) : originals_(originals), encoding_(encoding) {
    add({"GROUP", "NAME", "SIDE", "PORT"}, "ORIGINAL", "CONNECTIONS");
  }

  void addSide(const device::Group& group, Side side, const Peers& peers) {
    const auto& ports = group.side(side);
    if (!ports) return;
    const Row front{std::to_string(*group.wantedId), printable(group.name), side == Side::Source ? "source" : "sink"};
    const auto addPort = [&](const std::string& name, const std::string& original, const std::string& connections) {
      Row row = front;
      row.push_back(name);
      add(std::move(row), original, connections);
    };
    if (ports->count == 0) addPort({}, {}, {});
    for (std::uint16_t index = 0; index < ports->count; ++index) {
      if (!ports->exists(index)) continue;
      const auto found = peers.find({group.handle, index, side});
      addPort(printable(ports->nameOf(index)), printable(originals_.port(group.handle, index, side)),
              found == peers.end() ? std::string() : printable(found->second));
    }
  }

  void addBare(const device::Group& group) {
    add({std::to_string(*group.wantedId), printable(group.name), {}, {}}, {}, {});
  }

  std::string text() const { return textTable(rows_); }

 private:
  std::string printable(const std::string& name) const { return sys::printable(name, encoding_); }

  void add(Row front, const std::string& original, const std::string& connections) {
    if (originals_.any()) front.push_back(original);
    front.push_back(connections);
    rows_.push_back(std::move(front));
  }

  const OriginalNames& originals_;
  sys::TextEncoding encoding_;
  std::vector<Row> rows_;
};

JsonValue sideJson(const std::optional<device::SideOfGroup>& ports,
                   const std::function<std::string(std::uint16_t index)>& name) {
  if (!ports) return nullptr;
  JsonValue list = JsonValue::array();
  for (std::uint16_t index = 0; index < ports->count; ++index) {
    if (ports->exists(index)) list.push_back(name(index));
  }
  return list;
}

JsonValue groupJson(const device::Group& group, const OriginalNames& originals) {
  const auto nameOn = [&](Side side) { return [&, side](std::uint16_t at) { return group.side(side)->nameOf(at); }; };
  const auto originalOn = [&](Side side) {
    return [&, side](std::uint16_t at) { return originals.port(group.handle, at, side); };
  };
  JsonValue json{{"id", *group.wantedId},
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

// A port of a group that was just added or removed gets the name of one that does not exist.
std::string nameIn(const device::Topology& device, device::PortId port) {
  constexpr std::uint64_t NoGroup = 65535;
  if (device.find(port.group) == nullptr) port.group = NoGroup;
  return device.name(port);
}

device::Topology withGroupIds(const wire::Topology& topology) {
  return device::Topology(channel::withGroupIds(topology.groups));
}

}  // namespace

std::string topologyText(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals,
                         sys::TextEncoding encoding) {
  const device::Topology device = withGroupIds(topology);
  const OriginalNames originalNames(originals);
  Peers peers;
  for (const auto& [link, carried] : links.links) {
    enter(peers, link.source(), nameIn(device, link.sink()));
    enter(peers, link.sink(), nameIn(device, link.source()));
  }
  Rows rows(originalNames, encoding);
  for (const device::Group& group : device.groups()) {
    rows.addSide(group, Side::Source, peers);
    rows.addSide(group, Side::Sink, peers);
    if (!group.sources && !group.sinks) rows.addBare(group);
  }
  return rows.text();
}

std::string topologyJson(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals) {
  const device::Topology device = withGroupIds(topology);
  const OriginalNames originalNames(originals);
  JsonValue groups = JsonValue::array();
  for (const device::Group& group : device.groups()) {
    groups.push_back(groupJson(group, originalNames));
  }
  JsonValue connections = JsonValue::array();
  for (const auto& [link, carried] : links.links) {
    connections.push_back({{"source", nameIn(device, link.source())}, {"sink", nameIn(device, link.sink())}});
  }
  return jsonText(JsonValue{{"groups", std::move(groups)}, {"connections", std::move(connections)}}, 2) + '\n';
}

}  // namespace streamctl
