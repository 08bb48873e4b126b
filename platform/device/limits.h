// Limits on the length of names and messages.
#pragma once

#include <cstddef>

namespace device {

// A port's name.
inline constexpr std::size_t MaxNameBytes = 63;

// Leaves room in a port's name for "Out" and the port's number, five digits at most.
inline constexpr std::size_t MaxGroupNameBytes = MaxNameBytes - 8;

// One MIDI message.
inline constexpr std::size_t MaxMessageBytes = 1U << 20U;

}  // namespace device
