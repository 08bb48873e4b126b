// Where the service has the ports that a console knows.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/channel/service_port.h"
#include "platform/client/port_names.h"
#include "platform/device/port.h"
#include "platform/wire/messages.h"
#include "strmsrv.h"

namespace client {

// The ports of a device by places: group ids and indices that stay the same whatever the service calls the ports. A
// restarted service has other handles, and so has a group that comes back after a long time; their ports are found
// again by name. A place has the service's own index until another port has that index.
class PortPlaces {
 public:
  // Returns the id for an unknown group; nullopt to leave it unknown.
  using NewGroup = std::function<std::optional<std::uint16_t>(const wire::TopologyGroup& group)>;

  PortPlaces() : PortPlaces(wire::Topology{}) {}

  // first: all groups have ids.
  explicit PortPlaces(wire::Topology first);

  // Updates the places to the ports that the service has now. New ports of known groups become known. isAnother: the
  // known handles of groups are no longer valid.
  void follow(const wire::Topology& now, bool isAnother, const NewGroup& newGroup);

  // The service's place of a port; for a port that does not exist there, a place that no port has.
  channel::ServicePort toService(StrmSrv::PortRecord port, device::Side side) const;

  // The place of the service's port; nullopt if it is unknown.
  std::optional<StrmSrv::PortRecord> fromService(channel::ServicePort port, device::Side side) const;

  // The name of a port; for an unknown port, a name in the same style that none of the first ports has.
  std::string name(StrmSrv::PortRecord port, device::Side side) const;

 private:
  // A place on a side.
  using Key = std::uint64_t;
  using OnSide = std::pair<channel::ServicePort, device::Side>;
  struct OnSideHash {
    std::size_t operator()(const OnSide& port) const noexcept {
      return channel::ServicePortHash{}(port.first) * 2 + (port.second == device::Side::Sink ? 1 : 0);
    }
  };

  static Key key(StrmSrv::PortRecord port, device::Side side);
  // A group's entries in a map by places: the first one, and the position after the last.
  template <class Value>
  static auto ofGroup(std::map<Key, Value>& byPlace, std::uint16_t id);
  bool knows(StrmSrv::PortRecord port, device::Side side) const;
  void meet(const wire::TopologyGroup& group, const NewGroup& newGroup);
  bool isAsAtFirst(std::uint16_t id, const wire::TopologyGroup& group) const;
  void forgetHandleOf(std::uint16_t id);
  void forgetMove(Key place);
  void followInPlace(std::uint64_t handle, std::uint16_t id, const wire::TopologySide& ports, device::Side side);
  void followByName(channel::ServicePort there, std::uint16_t id, device::Side side, const std::string& name);
  void learn(StrmSrv::PortRecord place, device::Side side, const std::string& name);
  std::optional<StrmSrv::PortRecord> placeOf(const std::string& name, device::Side side);
  void enterNames();

  PortNames first_;
  std::unordered_map<std::string, std::uint16_t> idByName_;  // of all known groups
  std::map<Key, std::string> later_;                         // the names of ports that were added later

  // The groups whose ports have the service's own indices, in both directions.
  std::unordered_map<std::uint64_t, std::uint16_t> ids_;
  std::unordered_map<std::uint16_t, std::uint64_t> handles_;

  // The other groups, and the ports whose places differ from the service's, in both directions; Nowhere stands for no
  // port.
  std::unordered_map<std::uint64_t, std::uint16_t> moved_;
  std::map<Key, channel::ServicePort> toService_;
  std::unordered_map<OnSide, StrmSrv::PortRecord, OnSideHash> fromService_;

  bool namesEntered_ = false;
  std::unordered_map<std::string, std::pair<StrmSrv::PortRecord, device::Side>> byName_;  // all known ports
};

}  // namespace client
