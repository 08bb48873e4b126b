// A device's topology in the form in which it travels.
#pragma once

#include "platform/drivers/topology.h"
#include "platform/wire/messages.h"

namespace host {

wire::Topology topologyMessage(const service::Topology& topology);

}  // namespace host
