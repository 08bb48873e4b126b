// Limits on the size of a device.
#pragma once

#include <cstddef>

namespace device {

// A console tells groups apart by 16 bits.
inline constexpr std::size_t MaxGroups = 65'536;

// Ports of all groups together, removed ones included. Programs keep each port in memory when they list it, a few
// hundred bytes, and numbered ports cost whoever claims them nothing.
inline constexpr std::size_t MaxPorts = 1U << 21U;

}  // namespace device
