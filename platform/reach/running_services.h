// The services of this process.
#pragma once

#include <memory>
#include <string>

#include "platform/channel/connector.h"
#include "platform/host/embedded_service.h"

namespace reach {

// The connector to this service. It keeps the service alive.
channel::Connector connectorTo(const std::shared_ptr<host::EmbeddedService>& service);

// Starts a service in this process on a device (see drivers::openDevice). While it lives, a call for the same device
// returns a connector to the same service; it ends with the last connector. Thread-safe. Blocks for disk access and for
// the other system.
channel::ConnectorOrProblem openEmbedded(const std::string& device);

// Makes openEmbedded return this service for the device, as long as the service lives.
void shareService(const std::string& device, const std::shared_ptr<host::EmbeddedService>& service);

}  // namespace reach
