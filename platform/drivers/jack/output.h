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

  // Service: makes an empty ring for a port. Returns the number of both; nullopt if this object has none left.
  std::optional<std::size_t> reserve();

  // Server's thread: makes the port for a ring. Returns false if JACK has no port left. Blocks for a request.
  bool open(jack_client_t* client, std::size_t number);

  // Any thread: returns the port with this number, which lives until close; null before open.
  jack_port_t* port(std::size_t number) const;

  // Service: returns the ring to write to, which lives until close.
  SpscRing& ring(std::size_t number);

  // Service: true if the port's connection was in effect in the last period.
  bool settled(std::size_t number) const;

  // Service: true if something waits in the ring.
  bool waits(std::size_t number) const;

  // Service: gives up the port and the ring, and drops what waits there. No open for them may be under way. port: null
  // if it was not open; else the caller has JACK unregister it. messages: how many were dropped.
  struct Closed {
    jack_port_t* port = nullptr;
    std::uint64_t messages = 0;
  };
  Closed close(std::size_t number);

  // Service: the client is about to be closed. Sends nothing more through this port, drops what waits, and returns how
  // many messages that were. An open may be under way, so the ring lives as long as this object.
  std::uint64_t abandon(std::size_t number);

 private:
  struct Slot {
    std::atomic<jack_port_t*> port{nullptr};
    std::unique_ptr<SpscRing> ring;    // null: free; changes only while port is null
    std::atomic<bool> settled{false};  // the connection existed in the last period
    std::atomic<bool> abandoned{false};
    std::size_t offset = 0;  // for the process callback: how much of the ring's first piece has been sent
  };

  static void processSlot(Slot& slot, jack_port_t* port, jack_nframes_t frames);

  const ProcessGate& gate_;
  std::unique_ptr<std::array<Slot, MaxPorts>> slots_;
  std::atomic<std::size_t> used_{0};  // slots from here on have never had a port
};

}  // namespace drivers::jack
