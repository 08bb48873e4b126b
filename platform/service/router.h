// Routes messages through the device.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/topology.h"
#include "platform/service/patch_graph.h"
#include "platform/service/port_map.h"

namespace service {

// Passes messages along the connections. A message that passes a source goes on to each connected sink, in the order of
// creation. A message that passes a sink is delivered to the device, and what the device emits in response goes on at
// once, before the remaining sinks. The device itself carries what it emits along its own connections: such a message
// passes these sinks before all others and is not delivered again.
//
// One trip is everything that follows from one external call. A message passes each port at most once per trip: this
// breaks loops, and a client with taps in several places sees the message once in each. So the device can answer a
// message with at most one message from each source.
//
// A trip costs only what it passes, however many ports the device has. The stack does not grow with the length of the
// path.
class Router {
 public:
  using Look = std::function<void(device::PortId port, const device::Message& message, device::Time now)>;

  // graph must outlive the router. passed: called once for each port passed. arrived: called afterwards if the port is
  // a sink that the message must be delivered to; the device may call emitted inside it. Neither may change the graph.
  Router(const PatchGraph& graph, Look passed, Look arrived);

  // Passes a message through these ports, in this order, on one trip. Must not be called inside passed or arrived.
  void pass(std::span<const device::PortId> ports, const device::Message& message, device::Time now);

  // The number of the trip that has begun last.
  std::uint64_t trip() const { return trip_; }

  // Ports were removed: forgets which trips passed them.
  void forgetMissing(const device::Topology& topology);

  // The device emitted a message: inside arrived it continues the current trip, otherwise it starts a new one.
  void emitted(device::PortId source, const device::Message& message, device::Time now);

 private:
  // A port still to pass.
  struct Step {
    device::PortId port;
    device::Message message;
    device::Time now;
    // At a source: the device emitted the message. At a sink: the device already carried the message there.
    bool byDevice;
    std::shared_ptr<const std::vector<std::uint8_t>> owned;  // the bytes, unless the caller of the trip owns them
  };

  void begin(std::span<const device::PortId> ports, const device::Message& message, device::Time now, bool byDevice);
  void travel();
  void pushSinks(const Step& step);
  bool firstVisit(device::PortId port);

  const PatchGraph& graph_;
  Look passed_;
  Look arrived_;
  std::vector<Step> ahead_;         // the next step is the last element
  std::vector<Step> answers_;       // emitted by the device while arrived_ runs
  const Step* atDevice_ = nullptr;  // the step that arrived_ handles, or null
  std::uint64_t trip_ = 0;
  PortMap<std::uint64_t> lastTrip_;  // the last trip that passed each port
};

}  // namespace service
