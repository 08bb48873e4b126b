// Input ports of our own, each connected to one source of JACK's.
#pragma once

#include <jack/types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

#include "platform/drivers/jack/process_gate.h"
#include "platform/drivers/jack/spsc_ring.h"

namespace drivers::jack {

// What arrives at them comes to the service through one ring, in order. What the ring has no room for is lost and
// counted: at the place of the first loss stands how many messages it was.
class CapturePorts {
 public:
  static constexpr std::size_t MaxPorts = 1024;

  // gate: of the process callback; lives longer.
  explicit CapturePorts(const ProcessGate& gate);

  // Process callback: takes what has arrived at all ports in this period. Answers whether the ring has got something.
  // Takes no lock and allocates nothing.
  bool process(jack_nframes_t frames);

  // Service: makes a port. Answers its number, which no other port of this object has had; nothing when JACK or we have
  // no more of them. Blocks for a request.
  std::optional<std::uint32_t> open(jack_client_t* client);

  // Service: the port of a number that is open.
  jack_port_t* port(std::uint32_t number) const;

  // Service: gives the port back, with its connection. What the ring still has of it comes under a number that is open
  // no more. Blocks for a request.
  void close(jack_client_t* client, std::uint32_t number);

  using TakeEvent = std::function<void(std::uint32_t number, std::span<const std::uint8_t> event)>;
  using TakeGap = std::function<void(std::uint32_t number, std::uint64_t lost)>;

  // Service: takes about so many bytes out of the ring. event, gap: called for each event, and where events are missing
  // (lost: how many messages lost their beginning). Answers whether more is there.
  bool take(std::size_t bytes, const TakeEvent& event, const TakeGap& gap);

 private:
  struct Slot {
    std::atomic<jack_port_t*> port{nullptr};
    std::uint32_t number = 0;  // changes only while port is null
    // Process callback's:
    bool gap = false;
    std::uint64_t lost = 0;
  };

  const Slot* find(std::uint32_t number) const;
  bool processSlot(Slot& slot, jack_port_t* port, jack_nframes_t frames);
  bool pushGap(Slot& slot);

  const ProcessGate& gate_;
  SpscRing ring_;
  std::unique_ptr<std::array<Slot, MaxPorts>> slots_;
  std::atomic<std::size_t> used_{0};  // slots from here on have never had a port
  std::uint32_t lastNumber_ = 0;
};

}  // namespace drivers::jack
