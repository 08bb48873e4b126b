// What goes out to sinks, and our connections to them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "platform/drivers/foreign/burst_log.h"
#include "platform/drivers/jack/jack_client.h"
#include "platform/drivers/jack/outlet.h"
#include "platform/drivers/jack/port_directory.h"

namespace drivers::jack {

// A sink that something goes to has an output port of ours before it, which is given back after ten idle seconds.
class SinkFeeds {
 public:
  // bursts: what cannot be sent is counted there; lives longer.
  explicit SinkFeeds(BurstLog& bursts) : bursts_(bursts) {}

  // Sends the bytes of a message to a sink. What has no room now waits here. Answers whether pump is to be called.
  bool send(JackClient& client, const PortDirectory& ports, device::PortId sink, std::span<const std::uint8_t> bytes,
            device::Time now);

  // Moves on what waits, and gives back what is idle, or whose sink has gone. Answers when it wants to be called again.
  std::optional<device::Time> pump(JackClient& client, const PortDirectory& ports, device::Time now);

  // Sends what waits, here and in the rings, as long as it moves; gives up when nothing has moved for a second. Blocks.
  void finish(JackClient& client);

  // The client is about to go, and all that waits with it.
  void clientGone(JackClient& client, device::Time now);

  // Bytes that wait here, beyond those that wait in the rings.
  std::size_t waitingBytes() const { return waiting_; }

 private:
  struct Feed {
    Feed(std::string sink, std::size_t portNumber, SpscRing& ring)
        : sinkName(std::move(sink)), number(portNumber), outlet(ring) {}

    std::string sinkName;
    std::size_t number;
    Outlet outlet;
    device::Time lastUse{0};
    device::Time lastTry{0};  // to connect it
  };
  using Feeds = std::map<device::PortId, Feed>;

  std::size_t unsentBytes(JackClient& client) const;

  Feed* open(JackClient& client, const PortDirectory& ports, device::PortId sink, device::Time now);
  static bool connect(JackClient& client, const std::string& sink, Feed& feed, device::Time now);
  Feeds::iterator close(JackClient& client, Feeds::iterator feed, device::Time now);

  BurstLog& bursts_;
  Feeds feeds_;
  std::size_t waiting_ = 0;
};

}  // namespace drivers::jack
