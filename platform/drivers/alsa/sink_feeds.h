// Sends messages to the sequencer.
#pragma once

#include <map>
#include <optional>

#include "platform/device/driver.h"
#include "platform/drivers/alsa/client.h"
#include "platform/drivers/alsa/graph.h"
#include "platform/drivers/alsa/sink_queue.h"
#include "platform/drivers/foreign/burst_log.h"

namespace drivers::alsa {

// Sends each message to one port only. What a port has no room for waits, in order, and does not delay other ports.
// Messages that are not sent are counted and logged.
class SinkFeeds {
 public:
  // client: sends the messages; must outlive this object. Throws SequencerError.
  explicit SinkFeeds(Client& client);

  // Blocks while it sends what waits; gives up if no receiver makes room for a second.
  ~SinkFeeds();
  SinkFeeds(const SinkFeeds&) = delete;
  SinkFeeds& operator=(const SinkFeeds&) = delete;

  // Sends the message, or keeps it until advance.
  device::Delivery send(Address to, const device::Message& message, device::Time now);

  // Sets the receivers that exist now. Drops what waits for other ports.
  void setReceivers(const std::map<Address, Receiver>& receivers, device::Time now);

  // Sends what waits. Returns when to call again; nullopt if nothing waits.
  std::optional<device::Time> advance(device::DriverEvents& events, device::Time now);

  // Logs what has been counted and not logged yet.
  void finish(device::DriverEvents& events);

  // True while so much waits that senders must be held back.
  bool behind() const;

 private:
  struct Sink {
    SinkQueue queue;
    device::Time retry{};  // no attempt before this time
    device::Time pause{};  // between attempts
  };

  std::size_t bytes() const;
  void drop(SinkQueue& queue, device::Time now);
  void go(Sink& sink, device::Time now);

  Client& client_;
  const Address port_;
  EventEncoder encoder_;
  std::map<Address, Receiver> receivers_;
  std::map<Address, Sink> sinks_;  // ports that messages wait for or were sent to
  BurstLog log_;
};

}  // namespace drivers::alsa
