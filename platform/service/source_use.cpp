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
  if (isUsed == wasUsed) return;
  if (!isUsed) {
    forgetAnswer(source);
    driver_.setUsed(source, false, now);
    return;
  }
  unanswered_.insert(source);
  // The driver may also have answered inside the call.
  if (const auto status = driver_.setUsed(source, true, now)) enter(source, *status);
}

void SourceUse::answered(device::PortId source, device::Status status) {
  const Source* known = sources_.find(source);
  if (known == nullptr || !known->isUsed || known->answer == status) return;
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
    unusable_.erase(source);
    refused_.erase(source);
  }
}

void SourceUse::forgetAnswer(device::PortId source) {
  // Nobody waits for it any more.
  if (unanswered_.erase(source) > 0) news_ = true;
  unusable_.erase(source);
  refused_.erase(source);
}

void SourceUse::forgetMissing(const device::Topology& topology) {
  for (const device::PortId source : std::set(unanswered_)) {
    if (!topology.exists(source)) answered(source, device::Status::Ok);
  }
}

std::optional<device::Status> SourceUse::state(device::PortId port) const {
  // Spares a walk through the connections of a sink.
  if (unsettled_.empty() && unanswered_.empty() && unusable_.empty()) return device::Status::Ok;
  bool isKnown = true;
  // Returns false if the source cannot be used.
  const auto look = [&](device::PortId source) {
    const Source* known = sources_.find(source);
    const bool isUsed = known != nullptr && known->isUsed;
    isKnown &= isUsed ? known->answer.has_value() : !isWanted(source);
    return !isUsed || known->answer != device::Status::Refused;
  };
  if (port.side == device::Side::Source) {
    if (!look(port)) return device::Status::Refused;
  } else {
    if (walked_.contains(port)) return std::nullopt;
    for (const auto& [order, source] : graph_.neighbours(port)) {
      if (!look(source.port)) return device::Status::Refused;
    }
  }
  return isKnown ? std::optional(device::Status::Ok) : std::nullopt;
}

std::vector<device::PortId> SourceUse::takeRefused() {
  const auto refused = std::exchange(refused_, {});
  return {refused.begin(), refused.end()};
}

}  // namespace service
