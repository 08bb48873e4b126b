// The way out to the sequencer.
#pragma once

#include <map>
#include <optional>

#include "platform/device/driver.h"
#include "platform/drivers/alsa/sequencer.h"
#include "platform/drivers/alsa/sequencer_view.h"
#include "platform/drivers/alsa/sink_queue.h"
#include "platform/drivers/foreign/burst_log.h"

namespace drivers::alsa {

// Sends messages to ports, each to that port only. What a port has no room for waits, in order, and holds up no other
// port. What is not sent is counted and noted.
class AlsaOutput {
 public:
  // sequencer: sends, and lives longer. Throws SequencerError.
  explicit AlsaOutput(Sequencer& sequencer);

  // Sends what waits, as long as receivers make room for it; gives up when none does for a second.
  ~AlsaOutput();
  AlsaOutput(const AlsaOutput&) = delete;
  AlsaOutput& operator=(const AlsaOutput&) = delete;

  // Sends, or keeps until advance.
  void send(Address to, const device::Message& message, device::Time now);

  // Who is there now. What waits for others is dropped.
  void setReceivers(const std::map<Address, Receiver>& receivers, device::Time now);

  // Sends what waits; answers when to call again.
  std::optional<device::Time> advance(device::DriverEvents& events, device::Time now);

  // Notes what has been counted and not yet been said.
  void finish(device::DriverEvents& events);

  // True while so much waits that senders are to be held back.
  bool behind() const;

 private:
  struct Sink {
    SinkQueue queue;
    device::Time retry{};  // not before
    device::Time pause{};  // how long it will be given then
  };

  std::size_t bytes() const;
  void drop(SinkQueue& queue, device::Time now);
  void go(Sink& sink, device::Time now);

  Sequencer& sequencer_;
  const Address port_;
  EventEncoder encoder_;
  std::map<Address, Receiver> receivers_;
  std::map<Address, Sink> sinks_;  // those to which something waits to go, or has gone
  BurstLog log_;
};

}  // namespace drivers::alsa
