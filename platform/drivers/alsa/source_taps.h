// The used sources of the sequencer.
#pragma once

#include <map>
#include <optional>

#include "platform/device/driver.h"
#include "platform/drivers/alsa/input.h"
#include "platform/drivers/alsa/source_reader.h"
#include "platform/drivers/foreign/port_book.h"

namespace drivers::alsa {

// Keeps all used sources subscribed to the input's port, and makes messages of the events that arrive from them. A
// source stays used while it does not exist, and is subscribed again when it returns.
class SourceTaps {
 public:
  // Both must outlive this object.
  SourceTaps(const Input& input, const PortBook& book) : input_(input), book_(book) {}

  // Takes effect before it returns. See device::Driver::setUsed for the result. Logs a subscription that the sequencer
  // refuses.
  device::Status setUsed(device::PortId source, bool used, device::DriverEvents& events);

  // Call this when the book has changed or subscriptions may have ended: makes those that are missing, and reports
  // sources that cannot be used any more, or can be used again.
  void refresh(device::DriverEvents& events, device::Time now);

  // Reports the messages or losses of used sources that an event stands for.
  void take(const QueuedEvent& event, device::DriverEvents& events, device::Time now);

 private:
  struct Tap {
    std::optional<Address> address;  // nullopt: the source does not exist, or cannot be subscribed
    bool refused = false;            // the sequencer refused, which has been logged
    SourceReader reader;
  };

  void ensure(device::PortId source, Tap& tap, device::DriverEvents& events);

  const Input& input_;
  const PortBook& book_;
  EventDecoder decoder_;
  std::map<device::PortId, Tap> taps_;
  std::map<Address, device::PortId> sources_;  // those of taps_ that have an address
};

}  // namespace drivers::alsa
