// Routes messages through the device.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
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
// path. A trip that passes very many ports and taps stops on the way, and goes on when goOn is called. Trips follow one
// another: what is emitted meanwhile waits.
class Router {
 public:
  using Look = std::function<void(device::PortId port, const device::Message& message, device::Time now)>;

  // How far a port's taps have their copies.
  struct Copying {
    std::uint64_t from = 0;  // the first tap without a copy; at first 0
    std::size_t left = 0;    // how many copies may be made now; reduced by those that were made
  };

  // Returns true once all taps have their copies; else it is called again.
  using Copy = std::function<bool(device::PortId port, const device::Message& message, device::Time now, Copying& to)>;

  using May = std::function<bool(device::PortId port)>;

  // graph must outlive the router. passed: called for each port passed. arrived: called afterwards if the port is
  // a sink that the message must be delivered to; the device may call emitted inside it. mayEnter: called for each port
  // of pass when its turn comes; the message does not pass it if this returns false. None of them may change the graph.
  Router(const PatchGraph& graph, Copy passed, Look arrived, May mayEnter = {});

  // From now on until the next call, trips may pass this many ports and taps in all. Unlimited at first.
  void allow(std::size_t effort) { left_ = effort; }

  // Passes a message through these ports, in this order, on one trip. Must not be called inside passed or arrived, nor
  // while isOnTheWay.
  void pass(std::span<const device::PortId> ports, const device::Message& message, device::Time now);

  // The device emitted a message: inside arrived it continues the current trip, otherwise it starts a new one, when
  // those before have ended.
  void emitted(device::PortId source, const device::Message& message, device::Time now);

  // The number of the trip that has begun last.
  std::uint64_t trip() const { return trip_; }

  // Does this at once, or when all trips have ended that have begun or wait; what begins later waits for its end. It
  // may come in pieces: each gets how much may be done now (see allow), reduces that, and returns true if it was the
  // last one.
  using Act = std::function<bool(std::size_t& left)>;
  void afterwards(Act act);

  // True inside arrived.
  bool isAtDevice() const { return atDevice_ != nullptr; }

  // True while a trip has not ended, or others wait for it.
  bool isOnTheWay() const { return !isDone() || !later_.empty(); }

  // How many trips wait.
  std::size_t waiting() const { return later_.size(); }

  // Goes on, as far as allowed. Nothing happens inside passed or arrived.
  void goOn();

  // Ports were removed: forgets which trips passed them.
  void forgetMissing(const device::Topology& topology);

 private:
  enum class Stage : std::uint8_t { Arriving, Copying, Carried, Others };

  // A port still to pass, or to leave.
  struct Step {
    device::PortId port;
    device::Message message;
    device::Time now;
    // At a source: the device emitted the message. At a sink: the device already carried the message there.
    bool byDevice = false;
    std::shared_ptr<const std::vector<std::uint8_t>> owned;  // the bytes, unless the caller of the trip owns them
    Stage stage = Stage::Arriving;
    std::uint64_t copied = 0;                                      // see Copying::from
    std::int64_t sink = std::numeric_limits<std::int64_t>::min();  // the last sink that has had its turn
  };

  bool isDone() const { return ahead_.empty() && entries_.empty(); }
  void begin(std::span<const device::PortId> ports, const device::Message& message, device::Time now, bool byDevice);
  void travel();
  bool enterNext();
  void keepBytes();
  void leaveSource(Step step);
  bool firstVisit(device::PortId port);
  void spend(std::size_t effort) { left_ -= std::min(left_, effort); }

  const PatchGraph& graph_;
  Copy passed_;
  Look arrived_;
  May mayEnter_;
  std::size_t left_ = std::numeric_limits<std::size_t>::max();
  std::span<const device::PortId> entries_;  // where the trip's message has not entered yet
  Step entry_;                               // as it is at each of them
  std::vector<device::PortId> keptEntries_;  // entries_ of a trip that has stopped
  std::vector<Step> ahead_;                  // the next step is the last element
  std::vector<Step> answers_;                // emitted by the device while arrived_ runs
  std::vector<Step> sinks_;                  // room for work
  const Step* atDevice_ = nullptr;           // the step that arrived_ handles, or null
  std::deque<Act> later_;
  std::uint64_t trip_ = 0;
  PortMap<std::uint64_t> lastTrip_;  // the last trip that passed each port
};

}  // namespace service
