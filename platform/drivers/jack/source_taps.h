// The sources that somebody wants to see, and our connections to them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

#include "platform/device/driver.h"
#include "platform/drivers/jack/capture_reader.h"
#include "platform/drivers/jack/jack_client.h"
#include "platform/drivers/jack/port_directory.h"
#include "platform/drivers/jack/skip_news.h"

namespace drivers::jack {

// Each source that is used and there has an input port of ours behind it.
class SourceTaps {
 public:
  // A source is used from now on, until the opposite is said; client is null while no server runs. When this returns,
  // what the source emits from then on will arrive.
  void setUsed(JackClient* client, const PortDirectory& ports, device::PortId source, bool used);

  // Makes the connections that are missing, and gives back the ports whose source has gone. Answers a line for the log
  // when there were too few ports.
  std::optional<std::string> restore(JackClient& client, const PortDirectory& ports);

  // The client is about to go, and all connections with it.
  void clientGone(device::DriverEvents& events, device::Time now);

  // JACK has gone on without the client: what the sources emitted meanwhile may be lost.
  void skipped();

  // Tells of it, each source once a second at most. Answers when it wants to be called again.
  std::optional<device::Time> tellSkipped(device::DriverEvents& events, device::Time now);

  // Tells what has arrived, of about so many bytes of events. Answers whether more is there.
  bool take(JackClient& client, device::DriverEvents& events, device::Time now, std::size_t bytes);

 private:
  struct Tap {
    std::uint32_t number = 0;
    CaptureReader reader{};
  };

  // Answers false when there is no port left. JACK may refuse the connection, as it does while the source's client is
  // not active; restore tries again.
  bool tap(JackClient& client, const std::string& name, device::PortId source);
  void untap(JackClient& client, device::PortId source);

  std::set<device::PortId> used_;
  SkipNews skips_;
  std::map<device::PortId, Tap> taps_;
  std::unordered_map<std::uint32_t, device::PortId> sources_;  // by number of the port
};

}  // namespace drivers::jack
