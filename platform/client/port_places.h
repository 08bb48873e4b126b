// Where the service has the ports that a console knows.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/port_hash.h"
#include "platform/device/topology.h"
#include "strmsrv.h"

namespace client {

// The ports of a device by places: group ids and indices that stay the same whatever the service calls the ports. A
// restarted service has other handles, and so has a group that comes back after a long time; their ports are found
// again by name. A place has the service's own index until another port has that index.
class PortPlaces {
 public:
  // Returns the id for an unknown group; nullopt to leave it unknown.
  using NewGroup = std::function<std::optional<std::uint16_t>(const device::Group& group)>;

  PortPlaces() = default;

  // first: all groups have ids (see channel::GroupIds).
  explicit PortPlaces(std::vector<device::Group> first);

  // Updates the places to the ports that the service has now. New ports of known groups become known. isAnother: the
  // known handles of groups are no longer valid.
  void follow(std::span<const device::Group> now, bool isAnother, const NewGroup& newGroup);

  // The service's place of a port; for a port that does not exist there, a place that no port has.
  device::PortId toService(StrmSrv::PortRecord port, device::Side side) const;

  // The place of the service's port; nullopt if it is unknown.
  std::optional<StrmSrv::PortRecord> fromService(device::PortId port) const;

  // The name of a port; for an unknown port, a name in the same style that none of the first ports has.
  std::string name(StrmSrv::PortRecord port, device::Side side) const;

 private:
  // A port whose group's handle is the group id.
  using Place = device::PortId;

  static Place place(StrmSrv::PortRecord port, device::Side side) { return {port.groupId, port.portIndex, side}; }
  static StrmSrv::PortRecord record(Place place) { return {static_cast<std::uint16_t>(place.group), place.index}; }
  // A group's entries in a map by places: the first one, and the position after the last.
  template <class Value>
  static auto ofGroup(std::map<Place, Value>& byPlace, std::uint16_t id);
  bool knows(Place place) const;
  void meet(const device::Group& group, const NewGroup& newGroup);
  bool isAsAtFirst(std::uint16_t id, const device::Group& group) const;
  void forgetHandleOf(std::uint16_t id);
  void forgetMove(Place place);
  void followInPlace(std::uint64_t handle, std::uint16_t id, const device::SideOfGroup& ports, device::Side side);
  void followByName(device::PortId there, std::uint16_t id, const std::string& name);
  void learn(Place place, const std::string& name);
  std::optional<Place> placeOf(const std::string& name, device::Side side) const;

  device::Topology first_;                                   // with group ids for handles
  std::unordered_map<std::string, std::uint16_t> idByName_;  // of all known groups

  // The ports that were added later, in both directions. The first of several with one name has the name.
  std::map<Place, std::string> later_;
  std::unordered_map<std::string, Place> laterByName_;

  // The groups whose ports have the service's own indices, in both directions.
  std::unordered_map<std::uint64_t, std::uint16_t> ids_;
  std::unordered_map<std::uint16_t, std::uint64_t> handles_;

  // The other groups, and the ports whose places differ from the service's, in both directions; a port that
  // the service does not have is nowhere.
  std::unordered_map<std::uint64_t, std::uint16_t> moved_;
  std::map<Place, device::PortId> toService_;
  std::unordered_map<device::PortId, Place, device::PortHash> fromService_;
};

}  // namespace client
