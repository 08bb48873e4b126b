// Messages to sinks, and our connections to the sinks.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "platform/drivers/foreign/burst_log.h"
#include "platform/drivers/jack/client.h"
#include "platform/drivers/jack/port_directory.h"
#include "platform/drivers/jack/server_thread.h"
#include "platform/drivers/jack/sink_queue.h"

namespace drivers::jack {

// Each sink that gets messages has an output port of ours, which is closed after ten idle seconds. Messages wait until
// the server has made the port.
class SinkFeeds {
 public:
  // bursts: counts what cannot be sent. Both must outlive this object.
  SinkFeeds(ServerThread& server, BurstLog& bursts) : server_(server), bursts_(bursts) {}

  // Sends the bytes of a message to a sink. What has no room now waits here. Returns true if pump must be called.
  bool send(Client& client, const PortDirectory& ports, device::PortId sink, std::span<const std::uint8_t> bytes,
            device::Time now);

  // Moves on what waits, and closes ports that are idle or whose sink no longer exists. Returns when to call again;
  // nullopt if no port is open.
  std::optional<device::Time> pump(Client& client, const PortDirectory& ports, device::Time now);

  // Blocks while it sends what waits, here and in the rings; gives up if nothing has moved for a second. Does not wait
  // for the server otherwise.
  void finish(Client& client);

  // Call this before the client is closed. Drops all that waits.
  void clientGone(Client& client, device::Time now);

  // Bytes that wait here, without those in the rings.
  std::size_t waitingBytes() const { return waiting_; }

 private:
  struct Feed {
    Feed(std::string sink, std::size_t portNumber, SpscRing& ring)
        : sinkName(std::move(sink)), number(portNumber), queue(ring) {}

    std::string sinkName;
    std::size_t number;
    SinkQueue queue;
    device::Time lastUse{0};
    device::Time lastTry{0};          // when it last tried to connect
    ServerThread::Request request{};  // that makes the port or the connection; null: none is open
  };
  using Feeds = std::map<device::PortId, Feed>;

  std::size_t unsentBytes(Client& client) const;
  // True if the server has refused the port or the connection.
  bool isRefused(const Feed& feed) const;
  void pumpQueue(Feed& feed);

  Feed* open(Client& client, const PortDirectory& ports, device::PortId sink, device::Time now);
  // The feed has no open request.
  // reason: of what is not sent, see unsent.
  Feeds::iterator close(Client& client, Feeds::iterator feed, std::string_view reason, device::Time now);

  ServerThread& server_;
  BurstLog& bursts_;
  Feeds feeds_;
  std::size_t waiting_ = 0;
};

}  // namespace drivers::jack
