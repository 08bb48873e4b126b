// Tells the service of the sequencer's ports and connections.
#pragma once

#include <map>
#include <optional>
#include <set>

#include "platform/device/driver.h"
#include "platform/drivers/alsa/address.h"
#include "platform/drivers/alsa/client.h"
#include "platform/drivers/alsa/graph.h"
#include "platform/drivers/foreign/client_log.h"
#include "platform/drivers/foreign/port_book.h"

namespace drivers::alsa {

// Knows which ports and connections the service was told of, and reports what has changed since.
class GraphReports {
 public:
  // client: asks the sequencer; must outlive this object.
  explicit GraphReports(const Client& client) : client_(client) {}

  // The ports that were last read. Always the same object.
  const PortBook& ports() const { return ports_; }

  // Reads the ports without a report. Call this before any report, at most once.
  void begin();

  // Reads everything and reports the difference. Returns the ports that accept messages.
  std::map<Address, Receiver> readAll(device::DriverEvents& events, device::Time now);

  // Reads one connection and reports the difference.
  void readLink(const Subscription& subscription, device::DriverEvents& events, device::Time now);

  // See device::Driver::patch; returns the answer.
  device::Status patch(bool made, const device::Link& link, device::DriverEvents& events, device::Time now);

 private:
  std::optional<device::Link> linkOf(const Subscription& subscription) const;

  const Client& client_;
  PortBook ports_;
  ClientLog clientLog_;
  std::set<device::Link> links_;  // as reported
};

}  // namespace drivers::alsa
