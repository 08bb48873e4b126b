#include "platform/service/source_use.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace service {
namespace {

constexpr std::int64_t BeforeAll = std::numeric_limits<std::int64_t>::min();

}  // namespace

void SourceUse::connectionChanged(const device::Link& link, Turn turn) {
  note(link.source(), link.sink(), graph_.carrier(link).has_value() && taps_.isTapped(link.sink()));
  enter(link.source(), turn);
}

void SourceUse::enter(device::PortId port, Turn turn) {
  if (turn == Turn::Next) {
    unsettled_.push_front(port);
  } else {
    unsettled_.push_back(port);
  }
}

void SourceUse::tapsChanged(device::PortId port, Turn turn) {
  if (port.side == device::Side::Source) return enter(port, turn);
  if (graph_.neighbours(port).empty()) return;
  // A sink that waits for its turn begins again then.
  const bool isNew = walked_.insert_or_assign(port, BeforeAll).second;
  if (isNew) enter(port, turn);
}

bool SourceUse::settle(std::size_t most, device::Time now) {
  if (unsettled_.empty()) return false;
  // Requests wait for what was left.
  if (wasCut_) news_ = true;
  while (most > 0 && !unsettled_.empty()) {
    const device::PortId port = unsettled_.front();
    unsettled_.pop_front();
    if (port.side == device::Side::Source) {
      refresh(port, now);
      --most;
    } else {
      most -= settleSink(port, most, now);
    }
  }
  wasCut_ = !unsettled_.empty();
  return true;
}

// Returns how many sources it has looked at, at least 1.
std::size_t SourceUse::settleSink(device::PortId sink, std::size_t most, device::Time now) {
  const auto walk = walked_.find(sink);
  const auto& connections = graph_.neighbours(sink);
  std::vector<device::PortId> sources;
  auto next = connections.upper_bound(walk->second);
  for (; next != connections.end() && sources.size() < most; ++next) {
    sources.push_back(next->second.port);
    walk->second = next->first;
  }
  if (next == connections.end()) {
    walked_.erase(walk);
  } else {
    unsettled_.push_back(sink);
  }
  const bool isTapped = taps_.isTapped(sink);
  for (const device::PortId source : sources) note(source, sink, isTapped);
  // From here on the driver may report changes.
  for (const device::PortId source : sources) refresh(source, now);
  return std::max<std::size_t>(sources.size(), 1);
}

void SourceUse::note(device::PortId source, device::PortId sink, bool isTapped) {
  if (isTapped) {
    sources_[source].tapped.insert(sink);
  } else if (Source* known = sources_.find(source); known != nullptr) {
    known->tapped.erase(sink);
  }
}

bool SourceUse::isWanted(device::PortId source) const {
  const Source* known = sources_.find(source);
  return taps_.isTapped(source) || graph_.isCarriedByService(source) || (known != nullptr && !known->tapped.empty());
}

void SourceUse::refresh(device::PortId source, device::Time now) {
  const bool isUsed = isWanted(source);
  const Source* known = sources_.find(source);
  const bool wasUsed = known != nullptr && known->isUsed;
  if (isUsed) {
    sources_[source].isUsed = true;
  } else {
    sources_.erase(source);
  }
  const bool isBack = returned_.erase(source) > 0;
  if (isUsed && (!wasUsed || isBack)) return use(source, now);
  if (isUsed || !wasUsed) return;
  missing_.erase(source);
  forgetAnswer(source);
  driver_.setUsed(source, false, now);
}

void SourceUse::use(device::PortId source, device::Time now) {
  unanswered_.insert(source);
  // The driver may also have answered inside the call.
  if (const auto status = driver_.setUsed(source, true, now)) enter(source, *status);
}

void SourceUse::answered(device::PortId source, device::Status status) {
  const Source* known = sources_.find(source);
  if (known == nullptr || !known->isUsed) return;
  if (known->answer == status) {
    unanswered_.erase(source);
    return;
  }
  enter(source, status);
  news_ = true;
}

void SourceUse::enter(device::PortId source, device::Status status) {
  sources_[source].answer = status;
  unanswered_.erase(source);
  if (status == device::Status::Refused) {
    unusable_.insert(source);
    refused_.insert(source);
  } else {
    // A refusal that nobody has heard of yet stays in refused_: something was lost.
    unusable_.erase(source);
  }
}

void SourceUse::forgetAnswer(device::PortId source) {
  // Nobody waits for it any more.
  if (unanswered_.erase(source) > 0) news_ = true;
  unusable_.erase(source);
  refused_.erase(source);
}

void SourceUse::topologyChanged(const device::Topology& topology) {
  forgetMissing(topology);
  for (auto at = missing_.begin(); at != missing_.end();) {
    if (!topology.exists(*at)) {
      ++at;
      continue;
    }
    // From its return on, nothing arrives until the driver says so.
    sources_[*at].answer.reset();
    unanswered_.insert(*at);
    if (returned_.insert(*at).second) enter(*at, Turn::Last);
    at = missing_.erase(at);
  }
  for (const device::PortId port : sources_.missing(topology, sources_.size())) {
    if (sources_.find(port)->isUsed) missing_.insert(port);
  }
}

void SourceUse::forgetMissing(const device::Topology& topology) {
  for (const auto& sources : {std::set(unanswered_), std::set(unusable_)}) {
    for (const device::PortId source : sources) {
      if (!topology.exists(source)) answered(source, device::Status::Ok);
    }
  }
}

std::optional<device::Status> SourceUse::state(device::PortId port) const {
  if (port.side == device::Side::Sink) return stateOfSink(port);
  const Source* known = sources_.find(port);
  if (known != nullptr && known->isUsed) return known->answer;
  return isWanted(port) ? std::nullopt : std::optional(device::Status::Ok);
}

std::optional<device::Status> SourceUse::stateOfSink(device::PortId sink) const {
  if (walked_.contains(sink)) return std::nullopt;
  bool isKnown = true;
  // Returns false if the sink needs the source, and it cannot be used.
  const auto look = [&](device::PortId source) {
    const Source* known = sources_.find(source);
    if (known == nullptr || !known->isUsed || !known->tapped.contains(sink)) return true;
    isKnown &= known->answer.has_value();
    return known->answer != device::Status::Refused;
  };
  // Walks what is shorter: the connections of the sink, or the sources that are in question.
  const auto& connections = graph_.neighbours(sink);
  const bool isUsable =
      connections.size() < unanswered_.size() + unusable_.size()
          ? std::ranges::all_of(connections, [&](const auto& entry) { return look(entry.second.port); })
          : std::ranges::all_of(unusable_, look) && std::ranges::all_of(unanswered_, look);
  if (!isUsable) return device::Status::Refused;
  return isKnown ? std::optional(device::Status::Ok) : std::nullopt;
}

std::vector<device::PortId> SourceUse::takeRefused(std::size_t most) {
  std::vector<device::PortId> taken;
  while (!refused_.empty() && taken.size() < most) taken.push_back(refused_.extract(refused_.begin()).value());
  return taken;
}

}  // namespace service
