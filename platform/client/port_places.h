// Where the ports that a console knows stand in the service.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/client/port_names.h"
#include "platform/wire/messages.h"
#include "strmsrv.h"

namespace client {

// The ports of a device by places, groups and indices, that stay when the service numbers them anew: as one does that
// has been started again. Ports are found again by their names. A place is the service's own, until it is another's.
class PortPlaces {
 public:
  PortPlaces() : PortPlaces(wire::Topology{}) {}
  explicit PortPlaces(wire::Topology first);

  // The service has these ports now. Those not known yet are known from now on. isAnother: it may have numbered them
  // anew.
  void follow(const wire::Topology& now, bool isAnother);

  // The service's place of a port; for one that is not there, a place that no port has.
  StrmSrv::PortRecord toService(StrmSrv::PortRecord port, Side side) const;

  // The place of the service's port; nothing when it is not known.
  std::optional<StrmSrv::PortRecord> fromService(StrmSrv::PortRecord port, Side side) const;

  // The name of a port; for one that is not known, a name in the same style that none of the first has.
  std::string name(StrmSrv::PortRecord port, Side side) const;

  // The groups that have ports which were not there at first, and are none of the first groups.
  const std::map<std::uint16_t, std::string>& laterGroups() const { return laterGroups_; }

 private:
  // A place on a side.
  using Key = std::uint64_t;
  using Places = std::unordered_map<Key, StrmSrv::PortRecord>;

  static Key key(StrmSrv::PortRecord port, Side side);
  bool knows(StrmSrv::PortRecord port, Side side) const;
  void follow(const wire::TopologyGroup& group, const wire::TopologySide& ports, Side side);
  void learn(StrmSrv::PortRecord place, Side side, const std::string& name, const wire::TopologyGroup& group);
  std::optional<StrmSrv::PortRecord> placeOf(const std::string& name, Side side) const;
  StrmSrv::PortRecord newPlace(const wire::TopologyGroup& group, std::uint16_t index, Side side) const;
  std::uint16_t groupOf(const wire::TopologyGroup& group) const;
  void enterNames();

  PortNames first_;
  std::unordered_map<Key, std::string> later_;  // the names of ports that came later
  std::map<std::uint16_t, std::string> laterGroups_;
  bool haveMoved_ = false;  // then the rest says what is where
  Places toService_;
  Places fromService_;
  std::unordered_map<std::string, std::pair<StrmSrv::PortRecord, Side>> byName_;  // all that are known
};

}  // namespace client
