// What a service counts: MIDI messages, or copies of them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace service {

struct ClientCounts {
  std::uint32_t taps = 0;
  std::uint64_t in = 0;        // sent or injected by the client
  std::uint64_t out = 0;       // copies taken into its queue, and not dropped again
  std::uint64_t lost = 0;      // copies dropped because its queue, or the service's memory, was full
  std::size_t queueBytes = 0;  // bytes that wait in its queue

  // Of in: messages that reached a port of another system which has no form for them. Each counts once, however many
  // such ports it reached, and also if it reached other ports, which got it.
  std::uint64_t unsendable = 0;
};

// Totals since the service started, including disconnected clients.
struct Counts {
  std::uint64_t in = 0;  // emitted by the device's sources, sent, or injected
  std::uint64_t out = 0;
  std::uint64_t lost = 0;             // copies dropped because a queue, or the service's memory, was full
  std::uint64_t lostBefore = 0;       // messages lost before reaching the service, as far as known
  std::uint64_t uncountedLosses = 0;  // how many more times an unknown number, perhaps none, was lost
  std::uint64_t unsendable = 0;       // as above, also of messages that no client sent
};

}  // namespace service
