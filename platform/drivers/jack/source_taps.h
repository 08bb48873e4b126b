// The used sources, and our connections to them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

#include "platform/device/driver.h"
#include "platform/drivers/jack/client.h"
#include "platform/drivers/jack/port_directory.h"
#include "platform/drivers/jack/skipped_periods.h"
#include "platform/drivers/jack/source_reader.h"

namespace drivers::jack {

// Each source that is used and exists has an input port of ours.
class SourceTaps {
 public:
  // Sets whether a source is used. client: null while no server runs. What a used source emits after the return will
  // arrive.
  void setUsed(Client* client, const PortDirectory& ports, device::PortId source, bool used);

  // Makes missing connections, and closes ports whose source no longer exists. Returns a log line if there were too few
  // ports, else nullopt.
  std::optional<std::string> restore(Client& client, const PortDirectory& ports);

  // Call this before the client is closed, and all connections with it.
  void clientGone(device::DriverEvents& events, device::Time now);

  // JACK ran without the client: what the sources emitted meanwhile may be lost.
  void skipped();

  // Reports skipped periods, each source at most once a second. Returns when to call again; nullopt if nothing waits.
  std::optional<device::Time> tellSkipped(device::DriverEvents& events, device::Time now);

  // Reports what has arrived, about this many bytes of events. Returns true if more has.
  bool take(Client& client, device::DriverEvents& events, device::Time now, std::size_t bytes);

 private:
  struct Tap {
    std::uint32_t number = 0;
    SourceReader reader{};
  };

  // Returns false if there is no port left. JACK may refuse the connection, as it does while the source's client is not
  // active; restore tries again.
  bool tap(Client& client, const std::string& name, device::PortId source);
  void untap(Client& client, device::PortId source);

  std::set<device::PortId> used_;
  SkippedPeriods skipped_;
  std::map<device::PortId, Tap> taps_;
  std::unordered_map<std::uint32_t, device::PortId> sources_;  // by port number
};

}  // namespace drivers::jack
