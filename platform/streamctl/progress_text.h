// How far a score has been played.
#pragma once

#include <cstddef>
#include <string>

#include "platform/device/port.h"

namespace streamctl {

// "[=======>      ]  45%  0:12 / 0:27" in columns cells at most; with less room without its bar, then without its
// times, then nothing. position: 0 to length, which may be 0.
std::string progressText(device::Time position, device::Time length, std::size_t columns);

}  // namespace streamctl
