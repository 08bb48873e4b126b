// Output ports of our own, each connected to one sink of JACK's.
#pragma once

#include <jack/types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/drivers/jack/process_gate.h"
#include "platform/drivers/jack/spsc_ring.h"

namespace drivers::jack {

// What goes out through one waits in a ring of its own, in pieces (outlet.h): until the port's connection is in effect,
// and until a period's buffer has room. A piece that no period's buffer has room for is cut.
class PlaybackPorts {
 public:
  static constexpr std::size_t MaxPorts = 1024;

  // gate: of the process callback; lives longer.
  explicit PlaybackPorts(const ProcessGate& gate);

  // Process callback: fills the buffers of this period. Takes no lock and allocates nothing.
  void process(jack_nframes_t frames);

  // Service: makes a port, with an empty ring. Answers its number; nothing when JACK or we have no more of them. Blocks
  // for a request.
  std::optional<std::size_t> open(jack_client_t* client);

  // Service: the port of a number that is open, and the ring that is written for it. They live until it is closed.
  jack_port_t* port(std::size_t number) const;
  SpscRing& ring(std::size_t number);

  // Service: whether the port's connection was in effect in the last period.
  bool settled(std::size_t number) const;

  // Service: whether something waits in the ring.
  bool waits(std::size_t number) const;

  // Service: gives the port back, with its connection and what waits in its ring. Answers how many messages that were.
  // Blocks for a request.
  std::uint64_t close(jack_client_t* client, std::size_t number);

 private:
  struct Slot {
    std::atomic<jack_port_t*> port{nullptr};
    std::unique_ptr<SpscRing> ring;    // changes only while port is null
    std::atomic<bool> settled{false};  // the connection was there in the last period already
    std::size_t offset = 0;            // process callback's: how much of the ring's first piece has gone out
  };

  static void processSlot(Slot& slot, jack_port_t* port, jack_nframes_t frames);

  const ProcessGate& gate_;
  std::unique_ptr<std::array<Slot, MaxPorts>> slots_;
  std::atomic<std::size_t> used_{0};  // slots from here on have never had a port
};

}  // namespace drivers::jack
