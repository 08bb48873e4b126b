// Our input ports, each connected to one JACK source.
#pragma once

#include <jack/types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "platform/drivers/jack/process_gate.h"
#include "platform/drivers/jack/spsc_ring.h"

namespace drivers::jack {

// Events that arrive reach the service through one ring, in order. Events that the ring has no room for are lost and
// counted. The count of lost messages is at the place of the first loss. The ring also holds what becomes of the ports'
// connections, between the events before and after.
class Input {
 public:
  static constexpr std::size_t MaxPorts = 1024;

  // gate: that of the process callback; must outlive this object.
  explicit Input(const ProcessGate& gate);

  // Process callback: reads what arrived at all ports in this period. Returns true if it wrote to the ring. Takes no
  // lock and does not allocate.
  bool process(jack_nframes_t frames);

  // Server's thread: makes a port with this number, which no other port of this object has had. Returns false if JACK
  // or this object has no port left. Blocks for a request.
  bool open(jack_client_t* client, std::uint32_t number);

  // Server's thread: returns the port with this number; null if it is not open.
  jack_port_t* port(std::uint32_t number) const;

  // Server's thread: closes the port, if it is open, with its connection. What the ring still holds of it keeps its
  // number. Blocks for a request.
  void close(jack_client_t* client, std::uint32_t number);

  using TakeEvent = std::function<void(std::uint32_t number, std::span<const std::uint8_t> event)>;
  using TakeGap = std::function<void(std::uint32_t number, std::uint64_t lost)>;

  // A change of a port's connection.
  struct Connection {
    bool isThere = false;    // what the source emits from now on arrives
    bool wasBroken = false;  // it is there again, and what the source emitted in between did not arrive
  };
  using TakeConnection = std::function<void(std::uint32_t number, Connection connection)>;

  struct Takers {
    TakeEvent event;
    TakeGap gap;  // called where events are missing; lost: how many messages lost their beginning
    TakeConnection connection;
  };

  // Service: takes about this many bytes out of the ring. Returns true if the ring holds more.
  bool take(std::size_t bytes, const Takers& takers);

 private:
  struct Slot {
    std::atomic<jack_port_t*> port{nullptr};
    std::uint32_t number = 0;  // changes only while port is null
    // For the process callback:
    bool gap = false;
    std::uint64_t lost = 0;
    bool wasTold = false;   // the ring was told last that the connection exists
    bool wasThere = false;  // the connection has existed
    bool isBroken = false;  // it has been missing since, and the ring was not told that it is back
  };

  const Slot* find(std::uint32_t number) const;
  bool processSlot(Slot& slot, jack_port_t* port, jack_nframes_t frames);
  bool pushGap(Slot& slot);
  bool pushConnection(Slot& slot, bool isThere);

  const ProcessGate& gate_;
  SpscRing ring_;
  std::unique_ptr<std::array<Slot, MaxPorts>> slots_;
  std::atomic<std::size_t> used_{0};  // slots from here on have never had a port
};

}  // namespace drivers::jack
