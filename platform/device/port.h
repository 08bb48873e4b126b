// Ports and messages, as the service and its drivers use them.
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <span>

namespace device {

enum class Side : std::uint8_t { Source = 0, Sink = 1 };

// One port of the device: its group's handle, its index among the group's ports of that side, and the side.
struct PortId {
  std::uint64_t group = 0;
  std::uint16_t index = 0;
  Side side = Side::Source;
  // clang-tidy 14 mistakes the generated comparisons for null pointers.
  friend auto operator<=>(const PortId&, const PortId&) = default;  // NOLINT(modernize-use-nullptr)
};

// One connection: from a source port to a sink port.
struct Link {
  std::uint64_t sourceGroup = 0;
  std::uint16_t sourceIndex = 0;
  std::uint64_t sinkGroup = 0;
  std::uint16_t sinkIndex = 0;

  PortId source() const { return {sourceGroup, sourceIndex, Side::Source}; }
  PortId sink() const { return {sinkGroup, sinkIndex, Side::Sink}; }
  friend auto operator<=>(const Link&, const Link&) = default;  // NOLINT(modernize-use-nullptr)
};

// One MIDI message without its channel: a group id takes the channel's place. This group is unrelated to groups of
// ports. The bytes are valid for the call only.
struct Message {
  std::uint16_t group = 0;
  std::span<const std::uint8_t> bytes;
};

// Monotonic time since an arbitrary start.
using Time = std::chrono::nanoseconds;

}  // namespace device
