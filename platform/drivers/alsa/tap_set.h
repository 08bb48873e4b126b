// The sources of the sequencer that somebody wants to see.
#pragma once

#include <map>
#include <optional>

#include "platform/device/driver.h"
#include "platform/drivers/alsa/event_drain.h"
#include "platform/drivers/alsa/tapped_source.h"
#include "platform/drivers/foreign/port_book.h"

namespace drivers::alsa {

// Keeps the subscriptions of all used sources to the drain's port, and makes messages of the events that come through
// them. A source stays used while it has gone, and is subscribed again when it returns.
class TapSet {
 public:
  // Both live longer.
  TapSet(const EventDrain& drain, const PortBook& book) : drain_(drain), book_(book) {}

  // In force when it returns. A subscription that the sequencer refuses is noted.
  void setUsed(device::PortId source, bool used, device::DriverEvents& events);

  // The book has changed, or subscriptions may have ended: makes those that are missing.
  void refresh(device::DriverEvents& events);

  // Tells what an event, or a loss, says about used sources.
  void take(const QueuedEvent& event, device::DriverEvents& events, device::Time now);

 private:
  struct Tap {
    std::optional<Address> address;  // nothing: the source has gone, or cannot be subscribed
    bool refused = false;            // which has been noted
    TappedSource reader;
  };

  void ensure(device::PortId source, Tap& tap, device::DriverEvents& events);

  const EventDrain& drain_;
  const PortBook& book_;
  EventDecoder decoder_;
  std::map<device::PortId, Tap> taps_;
  std::map<Address, device::PortId> sources_;  // those of taps_ that have an address
};

}  // namespace drivers::alsa
