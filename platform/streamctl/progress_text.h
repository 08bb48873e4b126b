// How far a score has been played.
#pragma once

#include <cstddef>
#include <string>

#include "platform/device/port.h"

namespace streamctl {

// "[=======>      ]  45%  0:12 / 0:27" in at most this many columns; if there is less room, without the bar, then
// without the times, then empty. position: 0 to length, which may be 0.
std::string progressText(device::Time position, device::Time length, std::size_t columns);

}  // namespace streamctl
