// The interface between the service and its drivers, which provide the ports.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/status.h"
#include "platform/device/topology.h"

namespace device {

// Names a request to a driver until it is answered. A service gives no two requests the same.
enum class RequestId : std::uint64_t {};

// How a driver reports to the service. Called only from inside Driver operations, on the service's thread.
class DriverEvents {
 public:
  virtual ~DriverEvents() = default;

  // A source port emitted a message at the time now. The other system itself carries the message along connections
  // reported by linked; the service carries it along all others.
  virtual void emitted(PortId source, const Message& message, Time now) = 0;

  // A connection that the other system made and serves itself exists (linked) or no longer exists (unlinked). Repeating
  // a known state is allowed.
  virtual void linked(const Link& link, Time now) = 0;
  virtual void unlinked(const Link& link, Time now) = 0;

  // Driver::topology returns something new. Connections of ports that no longer exist carry nothing from this
  // call on.
  virtual void topologyChanged(Time now) = 0;

  // Messages of this source were lost before they reached the driver, after the messages emitted so far. count: how
  // many; 0 if the other system does not say.
  virtual void lost(PortId source, std::uint64_t count, Time now) = 0;

  // Answers Driver::patch, once for each request that it has taken. linked or unlinked comes first.
  virtual void patched(RequestId request, Status status, Time now) = 0;

  // Ok: what this source emits arrives from now on. Refused: it does not arrive, until Ok is reported. Answers
  // Driver::setUsed, and reports later changes while the source is used. Repeating a known state is allowed. A source
  // that does not exist needs no report.
  virtual void used(PortId source, Status status, Time now) = 0;

  // Logs one line. line: without prefix and line end.
  virtual void noted(std::string_view line) = 0;

  // Logs one line, and shows it to the device's user even where there is no log: the device stopped working, or works
  // again.
  virtual void warned(std::string_view line) = 0;

 protected:
  DriverEvents() = default;
  DriverEvents(const DriverEvents&) = default;
  DriverEvents& operator=(const DriverEvents&) = default;
};

// What a driver makes of a message for one of its sinks.
enum class Delivery : std::uint8_t {
  Taken,      // delivered, or waiting in the driver; a loss for any other reason is noted
  Unsendable  // the other system has no form for it, so the driver has dropped, counted and noted it
};

// What the service needs to know of a driver once, when it starts.
struct Started {
  // The connections that the service carries from the start, in the order of creation.
  std::vector<Link> links;

  // Readable when Driver::advance must be called, even before the time that it returned. Valid while the driver lives;
  // -1 if there is none.
  int descriptor = -1;
};

// A device: its ports, and what they do. All operations run on the service's thread. None waits for another process: a
// request that another process has to answer is answered later, inside advance. The destructor may wait until queued
// messages are sent.
class Driver {
 public:
  virtual ~Driver() = default;

  // The device's groups and port names, valid from construction on. Always the same object while the driver lives. It
  // changes only inside the driver's operations, which then call topologyChanged. A removed port keeps its place and
  // gets it back when it returns.
  virtual const Topology& topology() const = 0;

  // Sets the receiver of all events. Called once, before all operations below, on the thread that creates the service;
  // the service's own thread may be another one, which has not started yet. Calls linked for each connection that
  // exists in the other system, which Started does not list again; emits no message yet. May throw an exception derived
  // from std::exception if the system gives no descriptor.
  virtual Started start(DriverEvents& events, Time now) = 0;

  // A message arrived at a sink port of the device; the driver delivers it to the port once. The driver may call
  // DriverEvents::emitted from inside this call (a thru); the service breaks loops. A message that cannot be delivered
  // now waits in the driver. Whether the other system has a form for a message is known at once: the sender is told.
  virtual Delivery deliver(PortId sink, const Message& message, Time now) = 0;

  // Says whether anyone needs what a source port emits. Holds until the next call for this port, also while the port
  // does not exist; a source that returns is announced again. For a source that is needed, returns Ok if what it emits
  // from now on arrives, also if it does not exist yet; Refused if that is impossible; nullopt if DriverEvents::used
  // will say. For any other source the result means nothing. The last result of advance may no longer hold: call
  // advance again afterwards.
  virtual std::optional<Status> setUsed(PortId source, bool used, Time now) = 0;

  // Does a bounded piece of the work that is due at now. Returns when to call it again: a time at or before now means
  // at once; nullopt: call again when Started::descriptor is readable.
  virtual std::optional<Time> advance(Time now) = 0;

  // Makes (made is true) or removes (made is false) a connection in the other system. Both ports exist. Returns true if
  // the driver takes the request: DriverEvents::patched answers it, inside this call or later inside advance. Ok if the
  // connection to make already exists; NotFound if the connection to remove does not exist; Refused if the other system
  // refuses or does not answer in time: the request then has no effect later either. Returns false if the other system
  // does not handle this connection: the service then carries it.
  virtual bool patch(RequestId request, bool made, const Link& link, Time now);

  // True while so much output waits that senders must be held back. A change leads to a call of advance.
  virtual bool behind() const { return false; }

  // The service ends; nothing is called after this. Notes all counts that were not reported yet.
  virtual void finish(Time /*now*/) {}
};

inline bool Driver::patch(RequestId /*request*/, bool /*made*/, const Link& /*link*/, Time /*now*/) { return false; }

}  // namespace device
