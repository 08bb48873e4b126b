// Converts connections to and from their form in messages.
#pragma once

#include <cstdint>

#include "platform/device/port.h"
#include "platform/wire/messages.h"

namespace host {

// Handles in messages are offset by firstHandle: see Settings::firstHandle.
inline wire::LinkRecord linkRecord(const device::Link& link, bool carried, std::uint64_t firstHandle) {
  return {link.sourceGroup + firstHandle, link.sourceIndex, link.sinkGroup + firstHandle, link.sinkIndex, carried};
}

inline device::Link toLink(const wire::Patch& patch, std::uint64_t firstHandle) {
  return {patch.sourceGroup - firstHandle, patch.sourceIndex, patch.sinkGroup - firstHandle, patch.sinkIndex};
}

}  // namespace host
