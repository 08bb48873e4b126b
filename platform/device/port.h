// Ports and messages as the service and its drivers speak of them.
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <span>

namespace device {

enum class Side : std::uint8_t { Source = 0, Sink = 1 };

// One port of the device: its group's handle, an index within the group's ports of that side, and the side.
struct PortId {
  std::uint64_t group = 0;
  std::uint16_t index = 0;
  Side side = Side::Source;
  // clang-tidy 14 takes the comparisons that are made here for null pointers.
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

// One MIDI message without its channel: a group id takes the channel's place. It has nothing to do with the groups of
// ports. The bytes are borrowed for a call.
struct Message {
  std::uint16_t group = 0;
  std::span<const std::uint8_t> bytes;
};

// Time since an arbitrary start, monotonic.
using Time = std::chrono::nanoseconds;

}  // namespace device
