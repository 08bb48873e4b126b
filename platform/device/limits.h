// How long names and messages can be.
#pragma once

#include <cstddef>

namespace device {

// A port's name.
inline constexpr std::size_t MaxNameBytes = 63;

// A group's name leaves room for "Out" and the number of a port, five digits at most.
inline constexpr std::size_t MaxGroupNameBytes = MaxNameBytes - 8;

// One MIDI message.
inline constexpr std::size_t MaxMessageBytes = 1U << 20U;

}  // namespace device
