// Where ports come from.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/status.h"
#include "platform/device/topology.h"

namespace device {

// What a driver tells the service. Called only from inside Driver operations, on the service's thread.
class DriverEvents {
 public:
  virtual ~DriverEvents() = default;

  // A source port of the device has emitted a message. Along connections that the driver has told of by linked, the
  // other system brings the message to the sinks itself; along all others the service does. now: when.
  virtual void emitted(PortId source, const Message& message, Time now) = 0;

  // A connection stands that the other system itself has made and serves, or it has gone. What is so already may be
  // told again.
  virtual void linked(const Link& link, Time now) = 0;
  virtual void unlinked(const Link& link, Time now) = 0;

  // Driver::topology answers something else than before. Connections of ports that have gone end by this.
  virtual void topologyChanged(Time now) = 0;

  // Messages of this source have been lost on the way from the other system, at this place among those emitted.
  // count: how many; 0 when the other system does not say.
  virtual void lost(PortId source, std::uint64_t count, Time now) = 0;

  // Something for the log has happened: one line, without a line end and any prefix.
  virtual void noted(std::string_view line) = 0;

  // The same, and whoever uses the device is to be told even where there is no log: it works no more, or again.
  virtual void warned(std::string_view line) = 0;

 protected:
  DriverEvents() = default;
  DriverEvents(const DriverEvents&) = default;
  DriverEvents& operator=(const DriverEvents&) = default;
};

// A device: its ports, and what they do. All operations are called on the service's thread, and do not block for longer
// than the other system needs for a request.
class Driver {
 public:
  virtual ~Driver() = default;

  // The device's groups and port names, from the beginning on: the same object as long as the driver lives, changed
  // only inside the driver's operations, which then tell by topologyChanged. A port that goes keeps its place, and
  // has it again when it returns.
  virtual const Topology& topology() const = 0;

  // The connections that the service is to carry from the start, in the order of making.
  virtual const std::vector<Link>& initialLinks() const = 0;

  // Says where messages go; called once, before any operation below, by the thread that makes the service: it may be
  // another one than the service's, which has not begun. Tells of the connections that stand in the other system by
  // linked.
  virtual void start(DriverEvents& events, Time now) = 0;

  // A message has arrived at a sink port of the device and must reach it, once. The driver may answer with
  // DriverEvents::emitted at once (a thru); the service cuts what would go round in a circle. What cannot be
  // delivered now waits in the driver; what the other system has no form for is counted and noted.
  virtual void deliver(PortId sink, const Message& message, Time now) = 0;

  // Somebody now wants to see what a source port emits, or nobody does any more. Holds until the opposite is said,
  // also while the port has gone. What advance answered before may not hold any longer: call it again afterwards.
  virtual void setUsed(PortId source, bool used, Time now) = 0;

  // Does what is due at now, a bounded piece of it. Answers when it wants to be called again: a time not after now
  // for at once, nothing when it waits for nothing but its descriptor.
  virtual std::optional<Time> advance(Time now) = 0;

  // The service ends, and nothing is called after this: what has been counted and not been told is noted.
  virtual void finish(Time /*now*/) {}

  // Makes (or, made false, ends) a connection in the other system, and tells by linked or unlinked before it returns.
  // Ok also for what is so already when it is to be made; NotFound for one that is to be ended and does not stand.
  // Nothing: such a connection is not the other system's, so the service carries it. Both ports exist.
  virtual std::optional<Status> patch(bool made, const Link& link, Time now);

  // Readable when advance is to be called, whatever it has answered; the same as long as the driver lives. -1: there is
  // none.
  virtual int descriptor() const { return -1; }

  // True while so much waits to go out that senders are to be held back. advance is called when it may have changed.
  virtual bool behind() const { return false; }
};

inline std::optional<Status> Driver::patch(bool /*made*/, const Link& /*link*/, Time /*now*/) { return std::nullopt; }

}  // namespace device
