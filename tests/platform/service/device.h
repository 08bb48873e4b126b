// A device for the tests of the service: what it does, a test says; what it is told, it remembers.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/device/driver.h"
#include "platform/device/topology.h"

namespace service {

using Bytes = std::vector<std::uint8_t>;

inline constexpr device::PortId out(std::uint64_t group, std::uint16_t index) {
  return {group, index, device::Side::Source};
}
inline constexpr device::PortId in(std::uint64_t group, std::uint16_t index) {
  return {group, index, device::Side::Sink};
}
inline constexpr device::Link link(device::PortId source, device::PortId sink) {
  return {source.group, source.index, sink.group, sink.index};
}

// Groups 0, 1, ..., each with so many sources and sinks. Group 1's ports are "G1Out1", ... and "G1In1", ....
inline device::Topology evenTopology(std::uint16_t groups, std::uint16_t portsPerSide) {
  std::vector<device::Group> list;
  for (std::uint16_t id = 0; id < groups; ++id) {
    const std::string name = "G" + std::to_string(id);
    list.push_back({id,
                    name,
                    device::SideOfGroup{portsPerSide, name + "Out", {}},
                    device::SideOfGroup{portsPerSide, name + "In", {}},
                    {},
                    id});
  }
  return device::Topology(std::move(list));
}

// What a TestDevice was told, in order: "use G0Out1", "unuse G0Out1", "deliver G0In1 90 40".
using Told = std::vector<std::string>;

inline std::string hexOf(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view Digits = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += ' ';
    text += Digits[byte >> 4U];
    text += Digits[byte & 0xFU];
  }
  return text;
}

class TestDevice : public device::Driver {
 public:
  using Answer = std::function<void(device::DriverEvents&, device::PortId sink, const device::Message&, device::Time)>;

  TestDevice(device::Topology topology, std::vector<device::Link> links, Told& told)
      : topology_(std::move(topology)), links_(std::move(links)), told_(told) {}

  // What start does, and the descriptor that it returns.
  std::function<void(device::DriverEvents&, device::Time)> onStart;
  int descriptor = -1;

  // What it does when a message arrives at a sink, and when it advances.
  Answer onDeliver;

  // Whether it has no form for a message.
  std::function<bool(device::PortId sink, const device::Message&)> isUnsendable;

  std::function<std::optional<device::Time>(device::DriverEvents&, device::Time)> onAdvance;
  std::function<void(device::DriverEvents&, device::PortId source, bool used, device::Time)> onUsed;
  std::function<void(device::DriverEvents&)> onFinish;

  // Whether a connection is the other system's, and what it makes of it.
  std::function<std::optional<device::Status>(device::DriverEvents&, bool made, const device::Link&)> onPatch;

  // If set, this takes all patches, and answers them when it likes.
  std::function<void(device::RequestId, bool made, const device::Link&)> onRequest;

  // What it says of a source that is to be used; nullopt: later.
  std::function<std::optional<device::Status>(device::PortId source)> whetherUsable;

  bool isBehind = false;

  // Sends what enters the sink with an index out of the source with that index, in every group.
  void beThru() {
    onDeliver = [](device::DriverEvents& events, device::PortId sink, const device::Message& message,
                   device::Time now) { events.emitted(out(sink.group, sink.index), message, now); };
  }

  const device::Topology& topology() const override { return topology_; }

  device::Started start(device::DriverEvents& events, device::Time now) override {
    events_ = &events;
    told_.emplace_back("start");
    if (onStart) onStart(events, now);
    return {links_, descriptor};
  }

  device::Delivery deliver(device::PortId sink, const device::Message& message, device::Time now) override {
    if (remembersDeliveries) told_.push_back("deliver " + topology_.name(sink) + hexOf(message.bytes));
    if (onDeliver) onDeliver(*events_, sink, message, now);
    const bool hasNoForm = isUnsendable && isUnsendable(sink, message);
    return hasNoForm ? device::Delivery::Unsendable : device::Delivery::Taken;
  }

  std::optional<device::Status> setUsed(device::PortId source, bool used, device::Time now) override {
    told_.push_back((used ? "use " : "unuse ") + topology_.name(source));
    if (onUsed) onUsed(*events_, source, used, now);
    return used && whetherUsable ? whetherUsable(source) : device::Status::Ok;
  }

  std::optional<device::Time> advance(device::Time now) override {
    return onAdvance ? onAdvance(*events_, now) : std::nullopt;
  }

  void finish(device::Time /*now*/) override {
    if (onFinish) onFinish(*events_);
  }

  bool patch(device::RequestId request, bool made, const device::Link& wanted, device::Time now) override {
    if (onRequest) {
      onRequest(request, made, wanted);
      return true;
    }
    const auto status = onPatch ? onPatch(*events_, made, wanted) : std::nullopt;
    if (status) events_->patched(request, *status, now);
    return status.has_value();
  }

  bool behind() const override { return isBehind; }

  // Ports have come or gone. Not inside an operation.
  void change(device::Topology topology, device::Time now = {}) {
    topology_ = std::move(topology);
    events_->topologyChanged(now);
  }

  // To speak as the device outside of its operations, which only a test does.
  device::DriverEvents& events() { return *events_; }

  bool remembersDeliveries = true;

 private:
  device::Topology topology_;
  std::vector<device::Link> links_;
  Told& told_;
  device::DriverEvents* events_ = nullptr;
};

}  // namespace service
