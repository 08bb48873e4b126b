// Our output ports, each connected to one JACK sink.
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

// Each port has a ring of its own. What is to be sent waits there, in pieces (sink_queue.h), until the port's
// connection is in effect and a period's buffer has room. A piece that is too large for any period's buffer is split.
class Output {
 public:
  static constexpr std::size_t MaxPorts = 1024;

  // gate: that of the process callback; must outlive this object.
  explicit Output(const ProcessGate& gate);

  // Process callback: fills the buffers of this period. Takes no lock and does not allocate.
  void process(jack_nframes_t frames);

  // Service: makes a port with an empty ring. Returns its number; nullopt if JACK or this object has no port left.
  // Blocks for a request.
  std::optional<std::size_t> open(jack_client_t* client);

  // Service: returns the port with this number, which must be open, or the ring to write to for it. Both live until the
  // port is closed.
  jack_port_t* port(std::size_t number) const;
  SpscRing& ring(std::size_t number);

  // Service: true if the port's connection was in effect in the last period.
  bool settled(std::size_t number) const;

  // Service: true if something waits in the ring.
  bool waits(std::size_t number) const;

  // Service: closes the port, with its connection, and drops what waits in its ring. Returns how many messages that
  // were. Blocks for a request.
  std::uint64_t close(jack_client_t* client, std::size_t number);

 private:
  struct Slot {
    std::atomic<jack_port_t*> port{nullptr};
    std::unique_ptr<SpscRing> ring;    // changes only while port is null
    std::atomic<bool> settled{false};  // the connection existed in the last period
    std::size_t offset = 0;            // for the process callback: how much of the ring's first piece has been sent
  };

  static void processSlot(Slot& slot, jack_port_t* port, jack_nframes_t frames);

  const ProcessGate& gate_;
  std::unique_ptr<std::array<Slot, MaxPorts>> slots_;
  std::atomic<std::size_t> used_{0};  // slots from here on have never had a port
};

}  // namespace drivers::jack
