// Messages to clients, and lines for the log.
#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

#include "platform/host/dispatcher.h"
#include "platform/host/handle_offset.h"
#include "platform/system/earliest.h"
#include "platform/system/printable.h"
#include "platform/wire/loss_text.h"

namespace host {
namespace {

// Larger pieces would only make other clients wait longer.
constexpr std::size_t MaxEventsBytes = 64U << 10U;

// Well within the two seconds that a client waits.
constexpr device::Time HeldBackInterval = std::chrono::milliseconds(500);

constexpr device::Time ProbeInterval = std::chrono::milliseconds(50);

// An overloaded client loses messages in a thousand places a second.
constexpr device::Time LossLogInterval = std::chrono::seconds(1);

std::string lossText(std::uint64_t count) {
  return "lost " + std::to_string(count) + (count == 1 ? " message" : " messages") + ": it reads too slowly";
}

}  // namespace

void Dispatcher::countTaken(Session& session) {
  ++session.taken;
  takenOwed_ = true;
  const std::uint64_t often = std::max<std::uint64_t>(settings_.sendWindow / 4, 1);
  if (session.taken - session.takenTold >= often && !service_.behind()) sendTaken(session);
}

void Dispatcher::sendTo(std::string_view peer, std::span<const std::uint8_t> message) {
  if (peers_.send(peer, message)) return;
  Session* session = sessions_.findByPeer(peer);
  if (session == nullptr) return;
  session->gone = true;
  someGone_ = true;
}

void Dispatcher::sendTaken(Session& session) {
  if (session.taken == session.takenTold) return;
  session.takenTold = session.taken;
  sendTo(session.controlPeer, wire::encode(0, wire::Taken{session.taken}));
}

std::optional<device::Time> Dispatcher::tellHeldBack(device::Time now) {
  if (!takenOwed_ || !service_.behind()) return std::nullopt;
  if (now >= heldBackToldAt_ + HeldBackInterval) {
    for (auto& [number, session] : sessions_.all()) {
      if (session.taken != session.takenTold)
        sendTo(session.controlPeer, wire::encode(0, wire::Taken{session.takenTold}));
    }
    heldBackToldAt_ = now;
  }
  return heldBackToldAt_ + HeldBackInterval;
}

void Dispatcher::sendEvents() {
  for (auto& [number, session] : sessions_.all()) {
    if (!session.eventPeer.empty()) sendEvents(session);
  }
}

void Dispatcher::sendEvents(Session& session) {
  while (!session.gone && session.events.onItsWay() < settings_.eventWindow && service_.hasEvents(session.client)) {
    const std::uint64_t room = settings_.eventWindow - session.events.onItsWay();
    events_.resize(eventsFront_);
    const auto most = static_cast<std::size_t>(std::min<std::uint64_t>(room, MaxEventsBytes));
    session.events.sent(service_.takeEvents(session.client, most, events_));
    sendTo(session.eventPeer, events_);
  }
}

void Dispatcher::sendGraphChanges() {
  for (const service::GraphChange& change : service_.takeGraphChanges()) {
    const wire::LinkRecord record{onWire(change.link, firstHandle_), change.carried};
    const auto message = wire::encode(0, wire::GraphChanged{change.version, change.added, record});
    for (auto& [number, session] : sessions_.all()) {
      if (session.graphPeer.empty() || session.graphStale) continue;
      if (session.graph.onItsWay() < settings_.graphWindow) {
        session.graph.sent(1);
        sendTo(session.graphPeer, message);
      } else {
        session.graphStale = true;
        sendTo(session.graphPeer, wire::encode(0, wire::GraphStale{}));
      }
    }
  }
}

// Sent once, however much changes until the client asks: what is in flight to a client is bounded.
void Dispatcher::tellTopologyChanged() {
  if (std::exchange(topologyVersion_, service_.topologyVersion()) == topologyVersion_) return;
  for (auto& [number, session] : sessions_.all()) {
    if (session.eventPeer.empty() || std::exchange(session.topologyTold, true)) continue;
    sendTo(session.eventPeer, wire::encode(0, wire::TopologyChanged{}));
  }
}

void Dispatcher::removeGone(device::Time now) {
  if (!std::exchange(someGone_, false)) return;
  std::vector<std::uint64_t> gone;
  for (const auto& [number, session] : sessions_.all()) {
    if (session.gone) gone.push_back(number);
  }
  for (const std::uint64_t number : gone) {
    Session& session = *sessions_.find(number);
    logLoss(session, now);
    log(session, "lost its connection");
    service_.removeClient(session.client, now);
    sessions_.remove(number);
  }
}

std::optional<device::Time> Dispatcher::probeSuspects(device::Time now) {
  std::optional<device::Time> next;
  for (auto& [number, session] : sessions_.all()) {
    if (!session.suspicion) continue;
    if (now >= session.suspicion->nextProbe) {
      for (const std::string* peer : {&session.controlPeer, &session.eventPeer, &session.graphPeer}) {
        if (!peer->empty()) sendTo(*peer, wire::encode(0, wire::Probe{}));
      }
      session.suspicion->nextProbe = now + ProbeInterval;
    }
    if (now >= session.suspicion->end) {
      session.suspicion.reset();
    } else if (!next || session.suspicion->nextProbe < *next) {
      next = session.suspicion->nextProbe;
    }
  }
  return next;
}

std::optional<device::Time> Dispatcher::logLosses(device::Time now) {
  std::optional<device::Time> next;
  for (auto& [number, session] : sessions_.all()) {
    const device::Time due = session.lossToldAt + LossLogInterval;
    if (session.lossTold == 0 || now >= due) {
      logLoss(session, now);
    } else if (service_.counts(session.client).lost != session.lossTold && (!next || due < *next)) {
      next = due;
    }
  }
  return next;
}

std::optional<device::Time> Dispatcher::logLossesBefore(device::Time now) {
  logLossBefore(lostBefore_.take(service_.lostBefore(), now));
  logUncountedLoss(uncountedLosses_.take(service_.uncountedLosses(), now));
  auto next = lostBefore_.next(service_.lostBefore());
  if (const auto other = uncountedLosses_.next(service_.uncountedLosses())) sys::keepEarlier(next, *other);
  return next;
}

void Dispatcher::logLossBefore(std::uint64_t count) const {
  if (!log_ || count == 0) return;
  log_(std::to_string(count) + (count == 1 ? " message" : " messages") + " lost before reaching the service");
}

void Dispatcher::logUncountedLoss(std::uint64_t times) const {
  if (!log_ || times == 0) return;
  log_(wire::uncountedLossText(times));
}

void Dispatcher::finish(device::Time now) {
  service_.finish(now);
  sendNotes();
  for (auto& [number, session] : sessions_.all()) logLoss(session, now);
  logLossBefore(lostBefore_.takeAll(service_.lostBefore(), now));
  logUncountedLoss(uncountedLosses_.takeAll(service_.uncountedLosses(), now));
}

void Dispatcher::sendNotes() {
  for (const auto& [line, isWarning] : service_.takeNotes()) {
    if (log_) log_(sys::printable(line));
    if (isWarning && warnings_) warnings_(sys::printable(line));
  }
}

void Dispatcher::logLoss(Session& session, device::Time now) {
  const std::uint64_t lost = service_.counts(session.client).lost;
  if (lost == session.lossTold) return;
  log(session, lossText(lost - session.lossTold));
  session.lossTold = lost;
  session.lossToldAt = now;
}

void Dispatcher::log(const Session& session, std::string_view what) const {
  if (!log_) return;
  log_(sys::printable(session.program) + " (process " + std::to_string(session.process) + ") " + std::string(what));
}

}  // namespace host
