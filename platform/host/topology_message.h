// A device's topology, and its names elsewhere, in the form in which they travel: handles with the number of the first
// (see Limits::firstHandle).
#pragma once

#include <cstdint>

#include "platform/device/topology.h"
#include "platform/wire/messages.h"

namespace host {

// Without the groups and sides all of whose ports have gone.
wire::Topology topologyMessage(const device::Topology& topology, std::uint64_t firstHandle);

wire::Originals originalsMessage(const device::Topology& topology, std::uint64_t firstHandle);

}  // namespace host
