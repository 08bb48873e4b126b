// A device's topology, and its names in other systems, as messages. Handles are offset by firstHandle (see
// Settings::firstHandle).
#pragma once

#include <cstdint>

#include "platform/device/topology.h"
#include "platform/wire/messages.h"

namespace host {

// Leaves out groups and sides all of whose ports are removed.
wire::Topology topologyMessage(const device::Topology& topology, std::uint64_t firstHandle);

wire::Originals originalsMessage(const device::Topology& topology, std::uint64_t firstHandle);

}  // namespace host
