// A device's topology, and its names elsewhere, in the form in which they travel.
#pragma once

#include "platform/drivers/topology.h"
#include "platform/wire/messages.h"

namespace host {

// Without the groups and sides all of whose ports have gone.
wire::Topology topologyMessage(const service::Topology& topology);

wire::Originals originalsMessage(const service::Topology& topology);

}  // namespace host
