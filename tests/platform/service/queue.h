// A queue of events with what tests of it say most often.
#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "platform/service/tap_queue.h"
#include "tests/platform/service/received.h"

namespace service {

inline constexpr std::size_t Everything = std::numeric_limits<std::size_t>::max();
inline constexpr EventPortId One{1};
inline constexpr EventPortId Two{2};
inline constexpr std::uint32_t Holder = 1004;
inline constexpr std::size_t EventCost = 24;            // bookkeeping of an event or a loss
inline constexpr std::size_t NoteCost = EventCost + 9;  // of an event with one message of three bytes

inline const Bytes Note = {0x90, 0x3C, 0x40};

struct Queue {
  explicit Queue(std::size_t limit = 1U << 20U) : queue(limit) {}

  void add(const Bytes& bytes, device::Time now = {}, device::PortId port = out(0, 0), EventPortId eventPort = One,
           std::uint32_t holder = Holder) {
    queue.add(eventPort, port, names.name(port), holder, {0, bytes}, now);
  }

  std::vector<Received> take(std::size_t maxBytes = Everything) {
    Bytes entries;
    const std::size_t appended = queue.take(maxBytes, entries);
    EXPECT_EQ(appended, entries.size());
    return readEntries(entries);
  }

  device::Topology names = evenTopology(2, 4);
  TapQueue queue;
};

}  // namespace service
