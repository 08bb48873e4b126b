// Handles of groups in messages are offset by firstHandle: see Settings::firstHandle.
#pragma once

#include <cstdint>

#include "platform/device/port.h"

namespace host {

inline device::Link onWire(const device::Link& link, std::uint64_t firstHandle) {
  return {link.sourceGroup + firstHandle, link.sourceIndex, link.sinkGroup + firstHandle, link.sinkIndex};
}

inline device::Link inService(const device::Link& link, std::uint64_t firstHandle) {
  return {link.sourceGroup - firstHandle, link.sourceIndex, link.sinkGroup - firstHandle, link.sinkIndex};
}

}  // namespace host
