// What a service has counted. All counts are of MIDI messages, or of copies of them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace service {

struct ClientCounts {
  std::uint32_t taps = 0;
  std::uint64_t in = 0;        // sent or injected by the client
  std::uint64_t out = 0;       // copies taken into its queue
  std::uint64_t lost = 0;      // copies dropped because its queue was full
  std::size_t queueBytes = 0;  // what waits in its queue
};

// Since the service began, also of clients that have left.
struct Counts {
  std::uint64_t in = 0;  // emitted by the device's sources, sent, or injected
  std::uint64_t out = 0;
  std::uint64_t lost = 0;             // copies dropped because a queue was full
  std::uint64_t lostBefore = 0;       // messages lost before they came here, as far as somebody counted them
  std::uint64_t uncountedLosses = 0;  // how many times more of them were lost, perhaps none, and nobody knows how many
};

}  // namespace service
