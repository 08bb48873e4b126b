#include "platform/service/router.h"

#include <cassert>
#include <iterator>
#include <utility>

namespace service {
namespace {

// Connections of one source that are looked at in one step.
constexpr std::size_t SinksAtOnce = 64;

}  // namespace

Router::Router(const PatchGraph& graph, Copy passed, Look arrived, May mayEnter)
    : graph_(graph), passed_(std::move(passed)), arrived_(std::move(arrived)), mayEnter_(std::move(mayEnter)) {}

void Router::pass(std::span<const device::PortId> ports, const device::Message& message, device::Time now) {
  begin(ports, message, now, false);
}

void Router::forgetMissing(const device::Topology& topology) {
  for (const device::PortId port : lastTrip_.missing(topology, lastTrip_.size())) lastTrip_.erase(port);
}

void Router::emitted(device::PortId source, const device::Message& message, device::Time now) {
  if (atDevice_ == nullptr) {
    if (!isOnTheWay() && left_ > 0) return begin({&source, 1}, message, now, true);
    later_.push_back(
        [this, source, group = message.group, now,
         bytes = std::vector<std::uint8_t>(message.bytes.begin(), message.bytes.end())](std::size_t& /*left*/) {
          begin({&source, 1}, {group, bytes}, now, true);
          return true;
        });
    return;
  }
  // A thru emits the bytes that it was given; only other bytes need a copy that outlives the device's call.
  if (std::ranges::equal(message.bytes, atDevice_->message.bytes)) {
    answers_.push_back({.port = source,
                        .message = {message.group, atDevice_->message.bytes},
                        .now = now,
                        .byDevice = true,
                        .owned = atDevice_->owned});
    return;
  }
  auto bytes = std::make_shared<const std::vector<std::uint8_t>>(message.bytes.begin(), message.bytes.end());
  const device::Message copy{message.group, *bytes};
  answers_.push_back({.port = source, .message = copy, .now = now, .byDevice = true, .owned = std::move(bytes)});
}

void Router::afterwards(Act act) {
  if (atDevice_ == nullptr && !isOnTheWay() && act(left_)) return;
  later_.push_back(std::move(act));
}

void Router::begin(std::span<const device::PortId> ports, const device::Message& message, device::Time now,
                   bool byDevice) {
  assert(atDevice_ == nullptr && isDone());
  ++trip_;
  entries_ = ports;
  entry_ = {.port = {}, .message = message, .now = now, .byDevice = byDevice, .owned = nullptr};
  travel();
  if (isDone()) {
    entry_.owned.reset();
  } else {
    keepBytes();
  }
}

void Router::goOn() {
  if (atDevice_ != nullptr) return;
  travel();
  while (isDone() && left_ > 0 && !later_.empty()) {
    auto next = std::move(later_.front());
    later_.pop_front();
    if (!next(left_)) later_.push_front(std::move(next));
  }
  if (isDone()) entry_.owned.reset();
}

// The caller of a trip that stops keeps its message and its ports no longer.
void Router::keepBytes() {
  const auto& bytes = entry_.message.bytes;
  entry_.owned = std::make_shared<const std::vector<std::uint8_t>>(bytes.begin(), bytes.end());
  entry_.message.bytes = *entry_.owned;
  for (Step& step : ahead_) {
    if (step.owned) continue;
    step.owned = entry_.owned;
    step.message.bytes = *entry_.owned;
  }
  keptEntries_.assign(entries_.begin(), entries_.end());
  entries_ = keptEntries_;
}

// Returns false at the end of the trip.
bool Router::enterNext() {
  if (entries_.empty()) return false;
  const device::PortId port = entries_.front();
  entries_ = entries_.subspan(1);
  if (mayEnter_ && !mayEnter_(port)) {
    spend(1);
    return true;
  }
  ahead_.push_back(entry_);
  ahead_.back().port = port;
  return true;
}

void Router::travel() {
  while (left_ > 0) {
    if (ahead_.empty()) {
      if (!enterNext()) return;
      continue;
    }
    Step step = std::move(ahead_.back());
    ahead_.pop_back();
    if (step.stage == Stage::Arriving) {
      spend(1);
      if (!firstVisit(step.port)) continue;
      step.stage = Stage::Copying;
    }
    if (step.stage == Stage::Copying) {
      Copying copying{.from = step.copied, .left = left_};
      const bool all = passed_(step.port, step.message, step.now, copying);
      step.copied = copying.from;
      left_ = copying.left;
      if (!all) {
        ahead_.push_back(std::move(step));
        continue;
      }
      step.stage = Stage::Carried;
    }
    if (step.port.side == device::Side::Source) {
      leaveSource(std::move(step));
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
void Router::leaveSource(Step step) {
  const auto& sinks = graph_.neighbours(step.port);
  const auto push = [&](const PatchGraph::Neighbour& sink) {
    const device::PortId to = sink.port;
    if (graph_.isSevered({step.port.group, step.port.index, to.group, to.index})) return;
    const bool brought = step.byDevice && sink.carrier == PatchGraph::Carrier::Device;
    if (brought != (step.stage == Stage::Carried)) return;
    sinks_.push_back({.port = to, .message = step.message, .now = step.now, .byDevice = brought, .owned = step.owned});
  };
  // A message that the device has not emitted goes to all sinks alike.
  if (!step.byDevice) step.stage = Stage::Others;
  auto next = sinks.upper_bound(step.sink);
  std::size_t looked = 0;
  for (; next != sinks.end() && looked < SinksAtOnce; ++next, ++looked) {
    push(next->second);
    step.sink = next->first;
  }
  spend(looked);
  if (next == sinks.end()) {
    const bool isLast = step.stage == Stage::Others;
    step.stage = Stage::Others;
    step.sink = std::numeric_limits<std::int64_t>::min();
    if (!isLast && !sinks.empty()) ahead_.push_back(std::move(step));
  } else {
    ahead_.push_back(std::move(step));
  }
  std::move(sinks_.rbegin(), sinks_.rend(), std::back_inserter(ahead_));
  sinks_.clear();
}

bool Router::firstVisit(device::PortId port) {
  std::uint64_t& last = lastTrip_[port];
  return std::exchange(last, trip_) != trip_;
}

}  // namespace service
