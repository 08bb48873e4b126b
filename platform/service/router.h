// The road of a message through the device.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/topology.h"
#include "platform/service/hash.h"
#include "platform/service/patch_graph.h"

namespace service {

// Passes messages along the connections. A message that passes a source goes on to each sink connected to it, in the
// order of making; one that passes a sink is handed to the device, and what the device emits in answer goes on at
// once, before the sinks that still wait. What the device has emitted it brings along its own connections itself: the
// message then passes these sinks before all others, and is not handed over.
//
// One trip is all that follows from one call from outside. A message passes each port at most once on one trip: so a
// circle ends where it began, and whoever looks on in several places sees it once in each. The device therefore
// answers a message with at most one message from each source.
//
// A trip costs what it passes, however many ports the device has, and no deeper stack for a longer road.
class Router {
 public:
  using Look = std::function<void(device::PortId port, const device::Message& message, device::Time now)>;

  // graph must outlive the router. passed: called once for each port passed. arrived: called after it when the port
  // is a sink that the message must be handed to; the device may call emitted in it. Neither may change the graph.
  Router(const PatchGraph& graph, Look passed, Look arrived);

  // Passes a message through ports, in this order, on one trip. Not from inside passed or arrived.
  void pass(std::span<const device::PortId> ports, const device::Message& message, device::Time now);

  // Ports have gone: forgets which trips they have seen.
  void forgetMissing(const device::Topology& topology);

  // The device has emitted a message: on the trip that it answers when called inside arrived, else on one of its own.
  void emitted(device::PortId source, const device::Message& message, device::Time now);

 private:
  // A port still to be passed.
  struct Step {
    device::PortId port;
    device::Message message;
    device::Time now;
    // At a source: the device has emitted it. At a sink: the device has brought it there already.
    bool byDevice;
    std::shared_ptr<const std::vector<std::uint8_t>> owned;  // the bytes, unless the caller of the trip lends them
  };

  void begin(std::span<const device::PortId> ports, const device::Message& message, device::Time now, bool byDevice);
  void travel();
  void pushSinks(const Step& step);
  bool firstVisit(device::PortId port);

  const PatchGraph& graph_;
  Look passed_;
  Look arrived_;
  std::vector<Step> ahead_;         // last first
  std::vector<Step> answers_;       // of the device, while arrived_ runs
  const Step* atDevice_ = nullptr;  // what the device is looking at, while arrived_ runs
  std::uint64_t trip_ = 0;
  std::unordered_map<device::PortId, std::uint64_t, PortHash> lastTrip_;  // the trip that passed a port last
};

}  // namespace service
