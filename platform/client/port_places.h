// Where the ports that a console knows stand in the service.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/client/port_names.h"
#include "platform/client/service_port.h"
#include "platform/wire/messages.h"
#include "strmsrv.h"

namespace client {

// Maps places to the service's ports. A place is a group id and an index, by which a console knows a port; it stays the
// same when the service uses another handle for the group. Handles change when the service is started again, and when a
// group comes back after a long time. Ports are then found again by their names. The index of a place is the service's
// own, unless that belongs to another place already.
class PortPlaces {
 public:
  // Returns the id for a group that is not known, nullopt when the group is to stay unknown.
  using NewGroup = std::function<std::optional<std::uint16_t>(const wire::TopologyGroup& group)>;

  PortPlaces() : PortPlaces(wire::Topology{}) {}

  // The groups of first must have ids.
  explicit PortPlaces(wire::Topology first);

  // The service has these ports now. New ports of known groups are known from now on. isAnother: this is another
  // service, so handles that were seen before mean nothing any more.
  void follow(const wire::Topology& now, bool isAnother, const NewGroup& newGroup);

  // The service's place of a port; for one that is not there, a place that no port has.
  ServicePort toService(StrmSrv::PortRecord port, Side side) const;

  // The place of the service's port; nothing when it is not known.
  std::optional<StrmSrv::PortRecord> fromService(ServicePort port, Side side) const;

  // The name of a port; for one that is not known, a name in the same style that none of the first has.
  std::string name(StrmSrv::PortRecord port, Side side) const;

 private:
  // A place on a side.
  using Key = std::uint64_t;
  using OnSide = std::pair<ServicePort, Side>;
  struct OnSideHash {
    std::size_t operator()(const OnSide& port) const noexcept {
      return ServicePortHash{}(port.first) * 2 + (port.second == Side::Sink ? 1 : 0);
    }
  };

  static Key key(StrmSrv::PortRecord port, Side side);
  // The entries of a group in a map by places: the first one, and the one behind the last.
  template <class Value>
  static auto ofGroup(std::map<Key, Value>& byPlace, std::uint16_t id);
  bool knows(StrmSrv::PortRecord port, Side side) const;
  void meet(const wire::TopologyGroup& group, const NewGroup& newGroup);
  bool isAsAtFirst(std::uint16_t id, const wire::TopologyGroup& group) const;
  void forgetHandleOf(std::uint16_t id);
  void forgetMove(Key place);
  void followInPlace(std::uint64_t handle, std::uint16_t id, const wire::TopologySide& ports, Side side);
  void followByName(ServicePort there, std::uint16_t id, Side side, const std::string& name);
  void learn(StrmSrv::PortRecord place, Side side, const std::string& name);
  std::optional<StrmSrv::PortRecord> placeOf(const std::string& name, Side side);
  void enterNames();

  PortNames first_;
  std::unordered_map<std::string, std::uint16_t> idByName_;  // of all known groups
  std::map<Key, std::string> later_;                         // the names of ports that came later

  // In both directions, the groups whose ports have the service's own indices.
  std::unordered_map<std::uint64_t, std::uint16_t> ids_;
  std::unordered_map<std::uint16_t, std::uint64_t> handles_;

  // In both directions, the other groups, and the ports whose indices are not the service's own. Nowhere: no port.
  std::unordered_map<std::uint64_t, std::uint16_t> moved_;
  std::map<Key, ServicePort> toService_;
  std::unordered_map<OnSide, StrmSrv::PortRecord, OnSideHash> fromService_;

  bool namesEntered_ = false;
  std::unordered_map<std::string, std::pair<StrmSrv::PortRecord, Side>> byName_;  // all that are known
};

}  // namespace client
