// The requests of a session, for any thread.
#include <mutex>
#include <utility>

#include "platform/channel/address.h"
#include "platform/channel/session.h"
#include "platform/system/program_line.h"
#include "platform/wire/topology_check.h"

namespace channel {

std::optional<device::Status> Session::request(const std::function<wire::Body(std::uint64_t session)>& message,
                                               const Deadline& deadline) {
  if (!attached() || isSilent()) return std::nullopt;
  const auto result = control_->ask<wire::Result>(message(control_->session()), deadline);
  if (!result) noticeLoss(deadline);
  return result ? std::optional(result->status) : std::nullopt;
}

std::optional<device::Status> Session::tap(std::uint32_t eventPort, const std::string& name,
                                           std::uint32_t holderBytes) {
  const Deadline deadline(AnswerTime);
  const std::lock_guard guard(mutex_);
  const auto status = request(
      [&](std::uint64_t session) {
        return wire::Tap{session, eventPort, holderBytes, name};
      },
      deadline);
  TapList& taps = attachment_.taps();
  if (status == device::Status::Ok) taps.add(eventPort, name, holderBytes);
  // A late service may still make the tap, so withdraw it.
  if (!status && control_ && !taps.contains(eventPort, name)) {
    control_->tell(wire::Untap{control_->session(), eventPort, name});
  }
  return status;
}

std::optional<device::Status> Session::untap(std::uint32_t eventPort, const std::string& name) {
  const Deadline deadline(AnswerTime);
  const std::lock_guard guard(mutex_);
  attachment_.taps().remove(eventPort, name);
  const auto status = request([&](std::uint64_t session) { return wire::Untap{session, eventPort, name}; }, deadline);
  if (!status && control_) control_->tell(wire::Untap{control_->session(), eventPort, name});
  return status;
}

std::optional<device::Status> Session::untapAll(std::uint32_t eventPort) {
  const Deadline deadline(AnswerTime);
  const std::lock_guard guard(mutex_);
  attachment_.taps().removeAll(eventPort);
  const auto status = request([&](std::uint64_t session) { return wire::UntapAll{session, eventPort}; }, deadline);
  if (!status && control_) control_->tell(wire::UntapAll{control_->session(), eventPort});
  return status;
}

bool Session::send(std::uint32_t eventPort, std::uint16_t group, std::span<const std::uint8_t> bytes) {
  const Deadline deadline(AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!control_) return false;
  const bool sent = control_->send(eventPort, group, bytes);
  tellUnsendable();
  if (!sent) noticeLoss(deadline);
  return sent;
}

std::optional<Session::Device> Session::device() {
  const Deadline deadline(AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!attached()) return std::nullopt;
  if (isSilent()) {
    tellSilence();
    return std::nullopt;
  }
  const std::uint64_t number = control_->session();
  auto topology = askTopology(deadline);
  if (topology) {
    keepTopology(*topology);
    return Device{number, deviceVersion_, std::move(*topology)};
  }
  noticeLoss(deadline);
  tellSilence();
  return std::nullopt;
}

std::optional<wire::Topology> Session::askTopology(const Deadline& deadline) {
  auto topology = control_->ask<wire::Topology>(wire::AskTopology{control_->session()}, deadline);
  if (!topology) return std::nullopt;
  const auto cause = wire::whyRefused(*topology);
  // The same service may be asked again and again.
  if (const auto line = refusedTopologies_.answered(cause, clockNow())) sys::sayLine(addressLine(address_, *line));
  return cause ? std::nullopt : std::move(topology);
}

Session::Device Session::lastDevice() {
  const std::lock_guard guard(mutex_);
  return {topologySession_, deviceVersion_, topology_};
}

void Session::keepTopology(wire::Topology topology) {
  const std::uint64_t number = control_->session();
  if (number == topologySession_ && topology == topology_) return;
  topology_ = std::move(topology);
  topologySession_ = number;
  ++deviceVersion_;
}

void Session::list(const wire::Topology& topology) {
  const std::lock_guard guard(mutex_);
  arrivals_.list(topology);
}

std::optional<device::Status> Session::patch(bool made, const device::Link& link, std::uint64_t number) {
  const Deadline deadline(AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!attached() || isSilent()) return std::nullopt;
  if (control_->session() != number) return device::Status::NoSession;
  // Before the change, so that what follows it arrives as changes.
  if (!isCurrent(graph_.update(*control_, true, deadline), deadline)) return std::nullopt;
  takeBackLate();
  const bool existed = graph_.links().contains(link);
  const auto until = static_cast<std::uint64_t>(deadline.time().count());
  const auto result = control_->ask<wire::Result>(wire::Patch{number, made, link, until}, deadline);
  const std::uint32_t tag = control_->lastTag();
  if (!result) {
    control_->late().gaveUp(tag, link, existed);
    noticeLoss(deadline);
    return std::nullopt;
  }
  const auto shown = graph_.waitFor(result->graphVersion, *control_, !isSilent(), deadline);
  if (shown == GraphMirror::Freshness::Current) {
    control_->late().settled(link);
  } else if (result->status == device::Status::Ok) {
    control_->late().gaveUp(tag, link, existed);
    control_->late().answered(tag, result->status, result->graphVersion);
  }
  return isCurrent(shown, deadline) ? std::optional(result->status) : std::nullopt;
}

void Session::takeBackLate() {
  if (!control_ || control_->late().empty()) return;
  control_->read();
  if (!control_->late().isDue()) return;
  const Deadline deadline(Attachment::ActionTime);
  if (graph_.update(*control_, !isSilent(), deadline) != GraphMirror::Freshness::Current) return;
  LinkMirror& links = graph_.links();
  const auto exists = [&links](const device::Link& link) { return links.contains(link); };
  for (const auto& [link, made] : control_->late().takeBack(links.version(), exists)) {
    control_->tell(wire::Patch{control_->session(), made, link});
  }
}

bool Session::peersOf(device::PortId port, std::uint64_t number, std::vector<device::PortId>& result) {
  result.clear();
  const Deadline deadline(AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!lookAtGraph(deadline, number)) return false;
  const auto found = graph_.links().peers(port);
  result.assign(found.begin(), found.end());
  return true;
}

std::optional<std::uint64_t> Session::graphVersion(std::uint64_t number) {
  const Deadline deadline(AnswerTime);
  const std::lock_guard guard(mutex_);
  return lookAtGraph(deadline, number) ? std::optional(graph_.links().version()) : std::nullopt;
}

bool Session::lookAtGraph(const Deadline& deadline, std::uint64_t number) {
  if (!attached() || control_->session() != number) return false;
  const bool current = isCurrent(graph_.look(*control_, !isSilent(), deadline), deadline);
  if (!current) tellSilence();
  return current;
}

bool Session::isCurrent(GraphMirror::Freshness freshness, const Deadline& deadline) {
  if (freshness == GraphMirror::Freshness::Current) return true;
  if (freshness == GraphMirror::Freshness::Forgotten) {
    lose();
  } else {
    noticeLoss(deadline);
  }
  return false;
}

}  // namespace channel
