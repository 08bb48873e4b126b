// Tells the service of JACK's ports and connections.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/device/driver.h"
#include "platform/drivers/foreign/client_log.h"
#include "platform/drivers/jack/changes.h"
#include "platform/drivers/jack/client.h"
#include "platform/drivers/jack/link_reading.h"
#include "platform/drivers/jack/patches.h"
#include "platform/drivers/jack/port_directory.h"

namespace drivers::jack {

// Knows which ports and connections the service was told of, and reports what has changed since.
class GraphReports {
 public:
  // links: reads the connections; must outlive this object.
  explicit GraphReports(LinkReading& links) : links_(links) {}

  // The ports that were last read.
  const PortDirectory& ports() const { return ports_; }

  // Reads the ports and connections without a report. Call this before any report, at most once. Blocks until they are
  // read, for a second at most.
  void begin(const Client& client);

  // Reads and reports the ports.
  void readPorts(const Client& client, device::DriverEvents& events, device::Time now);

  // Begins to read all connections.
  void readLinks(const Client& client);

  // Reports the connections that have been read. Call this before anything else is reported.
  void tellLinks(device::DriverEvents& events, device::Time now);

  // Reports what JACK has announced to the client. patches: says what is news. Returns false if the server has ended:
  // then call clientGone.
  bool readChanges(Client& client, Patches& patches, device::DriverEvents& events, device::Time now);

  // The client was closed: reports that no port exists. Returning clients get no lines of their own.
  void clientGone(device::DriverEvents& events, device::Time now);

  // When to restore taps, which may have lost their connections; nullopt: all have them. Holds until tapsRestored.
  std::optional<device::Time> tapsDue() const { return tapsDue_; }
  void tapsRestored() { tapsDue_.reset(); }

 private:
  bool readChange(const Change& change, const Client& client, Patches& patches, device::DriverEvents& events,
                  device::Time now);
  void enterClients();

  LinkReading& links_;
  std::vector<NamedLink> read_;  // by begin
  PortDirectory ports_;
  ClientLog clientLog_;
  std::set<std::string> running_;  // names of clients that have not left, as far as we know
  bool stale_ = false;             // ports were added or removed that ports_ does not know of yet
  std::optional<device::Time> tapsDue_;
};

}  // namespace drivers::jack
