#include "traffic/port_connections.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "topology/path.h"
#include "topology/pattern.h"
#include "traffic/port_list.h"
#include "traffic/port_position.h"

namespace flowscope {

namespace {

using Ports = std::vector<StrmSrv::PortRecord>;

// Below a port: a group connected to it, and a port of that group.
constexpr std::size_t ConnectedGroupDepth = 5;

struct Place {
  PortPosition position;
  std::size_t depth;
  std::optional<Ports> ports;  // filled on first use
};

// Throws std::out_of_range for a group that the device does not list, so it is called only when nothing else is wrong.
const Ports& portsAt(Place& place, const StrmSrv::Patcher& patcher) {
  if (!place.ports) place.ports = portsOf(place.position, patcher);
  return *place.ports;
}

// Reads the places of one command.
class Places {
 public:
  Places(TopologyShell& shell, const StrmSrv::Patcher& patcher) : shell_(shell), indexes_(patcher) {}

  // The place that path leads to; for null, the current directory. nullopt if the place names no ports.
  std::optional<Place> at(const std::string* path) {
    const auto components = path == nullptr ? std::optional(shell_.currentPath())
                                            : lookupPath(resolvePath(*path, shell_.currentPath()), shell_.tree());
    if (!components) return std::nullopt;
    PortPosition position = parsePortPosition(*components, indexes_);
    if (!namesPorts(position, components->size())) return std::nullopt;
    return Place{std::move(position), components->size(), std::nullopt};
  }

 private:
  TopologyShell& shell_;
  PortIndexes indexes_;
};

// A place that is parsed on first use, so that an error ends the command only at that pair.
class LatePlace {
 public:
  LatePlace(Places& places, const std::string* path) : places_(places), path_(path) {}

  const std::string* path() const { return path_; }

  std::optional<Place>& get() {
    if (!isRead_) place_ = places_.at(path_);
    isRead_ = true;
    return place_;
  }

 private:
  Places& places_;
  const std::string* path_;
  bool isRead_ = false;
  std::optional<Place> place_;
};

std::vector<std::string> matchesOf(TopologyShell& shell, const char* pattern) {
  if (pattern == nullptr) return {};
  return expandPattern(resolvePath(pattern, shell.currentPath()), shell.tree());
}

ResultCode connectPorts(StrmSrv::Patcher& patcher, const Ports& sources, const Ports& sinks) {
  const std::size_t pairs = std::min(sources.size(), sinks.size());
  for (std::size_t pair = 0; pair < pairs; ++pair) {
    const auto& source = sources[pair];
    const auto& sink = sinks[pair];
    if (patcher.connect(source.groupId, source.portIndex, sink.groupId, sink.portIndex) != StrmSrv::StrmRes_Success) {
      return ResultConnectError;
    }
  }
  return ResultOk;
}

ResultCode connectPlaces(StrmSrv::Patcher& patcher, std::optional<Place>& source, std::optional<Place>& destination) {
  if (!source || !destination) return ResultSilent;
  if (source->position.side != PortSide::Source || destination->position.side != PortSide::Sink) {
    return ResultBadArgument;
  }
  const Ports& sources = portsAt(*source, patcher);
  return connectPorts(patcher, sources, portsAt(*destination, patcher));
}

// Returns whether a place includes the connections to the port other.
bool means(const PortPosition& place, const StrmSrv::PortRecord& other, const StrmSrv::Patcher& patcher) {
  if (!place.connectedGroup) return true;
  if (other.groupId != *place.connectedGroup) return false;
  if (place.connectedName.empty()) return true;
  const PortSide otherSide = place.side == PortSide::Source ? PortSide::Sink : PortSide::Source;
  return portName(patcher, place.streamType.value_or(0), other.groupId, other.portIndex, otherSide) ==
         place.connectedName;
}

void disconnectPort(StrmSrv::Patcher& patcher, const PortPosition& place, const StrmSrv::PortRecord& port) {
  Ports others;
  if (place.side == PortSide::Source) {
    patcher.getConnectSinkPorts(port.groupId, port.portIndex, others);
  } else {
    patcher.getConnectSourcePorts(port.groupId, port.portIndex, others);
  }
  for (const StrmSrv::PortRecord& other : others) {
    if (!means(place, other, patcher)) continue;
    const auto& source = place.side == PortSide::Source ? port : other;
    const auto& sink = place.side == PortSide::Source ? other : port;
    patcher.disconnect(source.groupId, source.portIndex, sink.groupId, sink.portIndex);
  }
}

ResultCode disconnectPlace(StrmSrv::Patcher& patcher, std::optional<Place>& place) {
  if (!place) return ResultSilent;
  // A connected group without a name. Going on would also end the connections to other groups.
  if (place->depth >= ConnectedGroupDepth && !place->position.connectedGroup) return ResultSilent;
  for (const StrmSrv::PortRecord& port : portsAt(*place, patcher)) disconnectPort(patcher, place->position, port);
  return ResultOk;
}

}  // namespace

ResultCode conCommand(TopologyShell& shell, const char* source, const char* destination) {
  StrmSrv::Patcher* const patcher = shell.patcher();
  if (patcher == nullptr || source == nullptr) return ResultSilent;
  const auto sources = matchesOf(shell, source);
  const auto destinations = matchesOf(shell, destination);

  Places places(shell, *patcher);
  // One entry per destination; one null entry if there is none.
  std::vector<LatePlace> named;
  named.reserve(destinations.size() + 1);
  for (const std::string& each : destinations) named.emplace_back(places, &each);
  if (named.empty()) named.emplace_back(places, nullptr);

  ResultCode result = ResultSilent;
  bool first = true;
  for (const std::string& each : sources) {
    LatePlace from(places, &each);
    for (LatePlace& to : named) {
      const std::string line = "connect " + each + (to.path() == nullptr ? "" : ":" + *to.path());
      if (!shell.output().writeLineFresh({AttrNone, ColourDefault, line.c_str()}, first, true)) return result;
      first = false;
      auto& fromPlace = from.get();
      result = connectPlaces(*patcher, fromPlace, to.get());
      if (result == ResultConnectError) return result;
    }
  }
  return result;
}

ResultCode disCommand(TopologyShell& shell, const char* source, const char* destination) {
  StrmSrv::Patcher* const patcher = shell.patcher();
  if (patcher == nullptr || source == nullptr) return ResultSilent;
  const auto sources = matchesOf(shell, source);
  const std::size_t passes = std::max<std::size_t>(1, matchesOf(shell, destination).size());

  Places places(shell, *patcher);
  ResultCode result = ResultSilent;
  for (const std::string& each : sources) {
    auto place = places.at(&each);
    for (std::size_t pass = 0; pass < passes; ++pass) result = disconnectPlace(*patcher, place);
  }
  return result;
}

}  // namespace flowscope
