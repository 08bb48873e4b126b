// Which sources of the device somebody needs.
#pragma once

#include <span>
#include <unordered_set>
#include <vector>

#include "platform/device/driver.h"
#include "platform/device/port.h"
#include "platform/device/port_hash.h"
#include "platform/service/patch_graph.h"
#include "platform/service/tap_table.h"

namespace service {

// A source is used while a client taps it or a sink connected to it, and while the service carries one of its
// connections. Tells the driver when that changes (see Driver::setUsed).
//
// A driver may report changes inside its operations, where it must not be called: they are marked, and settled when the
// operation has returned.
class SourceUse {
 public:
  // All must outlive this object.
  SourceUse(device::Driver& driver, const PatchGraph& graph, const TapTable& taps)
      : driver_(driver), graph_(graph), taps_(taps) {}

  // The taps or connections of this source changed: tells the driver at once.
  void refresh(device::PortId source, device::Time now);

  // The taps of these ports changed: tells the driver at once.
  void refreshAround(std::span<const device::PortId> ports, device::Time now);
  void refreshAround(device::PortId port, device::Time now) { refreshAround({&port, 1}, now); }

  // Marks a source whose taps or connections changed, or the sources that a change of the port's taps affects.
  void mark(device::PortId source) { unsettled_.push_back(source); }
  void markAround(device::PortId port);

  // Tells the driver what has been marked. Returns false if nothing was.
  bool settle(device::Time now);

 private:
  bool isTapped(device::PortId port) const { return !taps_.of(port).empty(); }
  bool isWanted(device::PortId source) const;

  device::Driver& driver_;
  const PatchGraph& graph_;
  const TapTable& taps_;
  std::unordered_set<device::PortId, device::PortHash> used_;  // as last reported to the driver
  std::vector<device::PortId> unsettled_;
};

}  // namespace service
