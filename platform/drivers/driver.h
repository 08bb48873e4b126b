// Where ports come from.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/drivers/port.h"
#include "platform/drivers/topology.h"

namespace service {

// What a driver tells the service. Called only from inside Driver operations, on the service's thread.
class DriverEvents {
 public:
  virtual ~DriverEvents() = default;

  // A source port of the device has emitted a message. now: when.
  virtual void emitted(PortId source, const Message& message, Time now) = 0;
};

// A device: its ports, and what they do. All operations are called on the service's thread and do not block.
class Driver {
 public:
  virtual ~Driver() = default;

  // The device's groups and port names.
  virtual const Topology& topology() const = 0;

  // The connections that stand when the service starts, in the order of making.
  virtual const std::vector<Link>& initialLinks() const = 0;

  // Says where messages go; called once, before any operation below.
  virtual void start(DriverEvents& events, Time now) = 0;

  // A message has arrived at a sink port of the device. The driver may answer with DriverEvents::emitted at once
  // (a thru); the service cuts what would go round in a circle.
  virtual void deliver(PortId sink, const Message& message, Time now) = 0;

  // A source port now has at least one tap or connection, or has none any more. What advance answered before may not
  // hold any longer: call it again afterwards.
  virtual void setUsed(PortId source, bool used, Time now) = 0;

  // Does what is due at now, a bounded piece of it. Answers when it wants to be called again: a time not after now
  // for at once, nothing when it waits for nothing.
  virtual std::optional<Time> advance(Time now) = 0;
};

}  // namespace service
