#include "platform/service/router.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

namespace service {

Router::Router(const PatchGraph& graph, Look passed, Look arrived)
    : graph_(graph), passed_(std::move(passed)), arrived_(std::move(arrived)) {}

void Router::pass(std::span<const device::PortId> ports, const device::Message& message, device::Time now) {
  begin(ports, message, now, false);
}

void Router::forgetMissing(const device::Topology& topology) {
  for (const device::PortId port : lastTrip_.missing(topology, lastTrip_.size())) lastTrip_.erase(port);
}

void Router::emitted(device::PortId source, const device::Message& message, device::Time now) {
  if (atDevice_ == nullptr) {
    begin({&source, 1}, message, now, true);
    return;
  }
  // A thru emits the bytes that it was given; only other bytes need a copy that outlives the device's call.
  if (std::ranges::equal(message.bytes, atDevice_->message.bytes)) {
    answers_.push_back({source, {message.group, atDevice_->message.bytes}, now, true, atDevice_->owned});
    return;
  }
  auto bytes = std::make_shared<const std::vector<std::uint8_t>>(message.bytes.begin(), message.bytes.end());
  const device::Message copy{message.group, *bytes};
  answers_.push_back({source, copy, now, true, std::move(bytes)});
}

void Router::begin(std::span<const device::PortId> ports, const device::Message& message, device::Time now,
                   bool byDevice) {
  assert(atDevice_ == nullptr && ahead_.empty());
  std::for_each(ports.rbegin(), ports.rend(), [&](device::PortId port) {
    ahead_.push_back({port, message, now, byDevice, nullptr});
  });
  travel();
}

void Router::travel() {
  ++trip_;
  while (!ahead_.empty()) {
    const Step step = std::move(ahead_.back());
    ahead_.pop_back();
    if (!firstVisit(step.port)) continue;
    passed_(step.port, step.message, step.now);
    if (step.port.side == device::Side::Source) {
      pushSinks(step);
      continue;
    }
    if (step.byDevice) continue;
    atDevice_ = &step;
    arrived_(step.port, step.message, step.now);
    atDevice_ = nullptr;
    std::move(answers_.rbegin(), answers_.rend(), std::back_inserter(ahead_));
    answers_.clear();
  }
}

// Sinks that the device already served come first: otherwise a path through the service could reach such a sink earlier
// and deliver the message again.
void Router::pushSinks(const Step& step) {
  const auto& sinks = graph_.neighbours(step.port);
  for (const bool brought : {false, true}) {
    std::for_each(sinks.rbegin(), sinks.rend(), [&](const PatchGraph::Neighbours::value_type& sink) {
      const device::PortId to = sink.second.port;
      if (graph_.isSevered({step.port.group, step.port.index, to.group, to.index})) return;
      if ((step.byDevice && sink.second.carrier == PatchGraph::Carrier::Device) != brought) return;
      ahead_.push_back({to, step.message, step.now, brought, step.owned});
    });
  }
}

bool Router::firstVisit(device::PortId port) {
  std::uint64_t& last = lastTrip_[port];
  return std::exchange(last, trip_) != trip_;
}

}  // namespace service
