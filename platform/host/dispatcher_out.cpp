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

// What is sent in one piece: bytes of events, and clients that get any; changes of the graph and clients that get any;
// clients that are told of a changed topology.
constexpr std::size_t EventBytesAtOnce = 256U << 10U;
constexpr std::size_t ReadyAtOnce = 64;
constexpr std::size_t ChangesAtOnce = 256;
constexpr std::size_t ToldAtOnce = 64;

// Lines in one piece.
constexpr int LinesAtOnce = 16;

// Well within the two seconds that a client waits.
constexpr device::Time HeldBackInterval = std::chrono::milliseconds(500);

// An overloaded client loses messages in a thousand places a second.
constexpr device::Time LossLogInterval = std::chrono::seconds(1);

// A client waits for each answer, except for those that took too long. Others would only fill the memory.
constexpr std::size_t MostUnanswered = 64;

// While so many requests of all clients have no answer, each client may wait for one: a device takes a bounded number,
// and no user's clients may use up the places of others.
constexpr std::size_t ManyUnanswered = 1024;

std::string lossText(std::uint64_t count) {
  return "lost " + std::to_string(count) + (count == 1 ? " message" : " messages") + ": it reads too slowly";
}

}  // namespace

void Dispatcher::countTaken(Session& session) {
  ++session.taken;
  if (!std::exchange(session.takenIsOwed, true)) takenOwed_.push_back(session.client);
  const std::uint64_t often = std::max<std::uint64_t>(settings_.sendWindow / 4, 1);
  if (session.taken - session.takenTold >= often && !service_.behind()) sendTaken(session);
}

bool Dispatcher::mayWait(const Request& request, const Session& session) {
  const std::size_t most = service_.openRequests() < ManyUnanswered ? MostUnanswered : 1;
  if (session.unanswered.size() < most) return true;
  answer(request, device::Status::Refused);
  return false;
}

void Dispatcher::answer(const Request& request, Session& session, const service::Reply& reply) {
  if (reply.status) return answer(request, *reply.status);
  unanswered_[reply.request] = {session.number, request.from, request.tag};
  session.unanswered.insert(reply.request);
}

void Dispatcher::sendLaterAnswers() {
  for (const service::Answer& one : service_.takeAnswers()) {
    const auto found = unanswered_.extract(one.request);
    if (found.empty()) continue;
    const Unanswered& asked = found.mapped();
    if (Session* session = sessions_.find(asked.session)) {
      session->unanswered.erase(one.request);
      // See Patch.
      showGraphChanges(*session);
    }
    answer({asked.from, asked.tag, {}}, one.status);
  }
}

void Dispatcher::dropAnswers(const Session& session) {
  for (const service::RequestId request : session.unanswered) unanswered_.erase(request);
}

void Dispatcher::sendTaken(Session& session) {
  if (session.taken == session.takenTold) return;
  session.takenTold = session.taken;
  connections_.send(session.control,
                    wire::encode(0, wire::Taken{session.taken, service_.counts(session.client).unsendable}));
}

std::optional<device::Time> Dispatcher::tellHeldBack(device::Time now) {
  if (takenOwed_.empty() || !service_.behind()) return std::nullopt;
  if (now >= heldBackToldAt_ + HeldBackInterval) {
    std::erase_if(takenOwed_, [this](service::ClientId client) { return sessions_.findByClient(client) == nullptr; });
    for (const service::ClientId client : takenOwed_) {
      const Session* session = sessions_.findByClient(client);
      if (session != nullptr && session->taken != session->takenTold)
        connections_.send(session->control,
                          wire::encode(0, wire::Taken{session->takenTold, service_.counts(client).unsendable}));
    }
    heldBackToldAt_ = now;
  }
  return heldBackToldAt_ + HeldBackInterval;
}

void Dispatcher::sendEvents() {
  for (const service::ClientId client : service_.takeReadyClients()) ready_.push_back(client);
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < ReadyAtOnce && bytes < EventBytesAtOnce && !ready_.empty(); ++i) {
    const service::ClientId client = ready_.front();
    ready_.pop_front();
    if (Session* session = sessions_.findByClient(client)) bytes += sendEvents(*session);
  }
}

std::size_t Dispatcher::sendEvents(Session& session) {
  std::size_t bytes = 0;
  if (session.eventChannel == ConnectionId::None) return bytes;
  while (session.events.onItsWay() < settings_.eventWindow && service_.hasEvents(session.client)) {
    const std::uint64_t room = settings_.eventWindow - session.events.onItsWay();
    events_.resize(eventsFront_);
    const auto most = static_cast<std::size_t>(std::min<std::uint64_t>(room, MaxEventsBytes));
    session.events.sent(service_.takeEvents(session.client, most, events_));
    connections_.send(session.eventChannel, events_);
    bytes += events_.size();
  }
  return bytes;
}

void Dispatcher::noteGraphChanges() {
  const auto changes = service_.takeGraphChanges();
  if (changes.empty() || graphNews_.empty()) return;
  for (const service::GraphChange& change : changes) {
    const wire::LinkRecord record{onWire(change.link, firstHandle_), change.carried};
    graphLog_.add(change.version, wire::encode(0, wire::GraphChanged{change.version, change.added, record}));
  }
  graphNews_.announce();
}

void Dispatcher::sendGraphChanges() {
  noteGraphChanges();
  for (std::size_t left = ChangesAtOnce; left > 0;) {
    const auto client = graphNews_.next();
    if (!client) return graphLog_.clear();
    Session* session = sessions_.findByClient(*client);
    if (session == nullptr || session->graphChannel == ConnectionId::None || session->graphStale) {
      graphNews_.leave(*client);
      --left;
      continue;
    }
    left -= std::min(left, 1 + sendGraphChanges(*session, left));
    if (session->graph.total() == service_.graphVersion()) {
      graphNews_.enter(*client);
    } else if (!session->graphStale) {
      graphNews_.postpone();
    }
  }
}

std::size_t Dispatcher::sendGraphChanges(Session& session, std::size_t most) {
  std::size_t sent = 0;
  if (session.graphChannel == ConnectionId::None || session.graphStale) return sent;
  for (; sent < most && session.graph.total() != service_.graphVersion(); ++sent) {
    const auto* change = graphLog_.after(session.graph.total());
    if (change == nullptr || session.graph.onItsWay() >= settings_.graphWindow) {
      session.graphStale = true;
      graphNews_.leave(session.client);
      connections_.send(session.graphChannel, wire::encode(0, wire::GraphStale{}));
      return sent + 1;
    }
    session.graph.sent(1);
    connections_.send(session.graphChannel, *change);
  }
  return sent;
}

void Dispatcher::showGraphChanges(Session& session) {
  noteGraphChanges();
  sendGraphChanges(session, static_cast<std::size_t>(settings_.graphWindow));
}

// Once, however much changes until the client asks: what is in flight to a client is bounded.
void Dispatcher::tellTopologyChanged() {
  const std::uint64_t version = service_.topologyVersion();
  if (std::exchange(topologyVersion_, version) != version) topologyNews_.announce();
  for (std::size_t i = 0; i < ToldAtOnce; ++i) {
    const auto client = topologyNews_.next();
    if (!client) return;
    topologyNews_.leave(*client);
    const Session* session = sessions_.findByClient(*client);
    if (session == nullptr || session->eventChannel == ConnectionId::None) continue;
    connections_.send(session->eventChannel, wire::encode(0, wire::TopologyChanged{}));
  }
}

void Dispatcher::enterTopologyNews(const Session& session) {
  if (session.eventChannel != ConnectionId::None) topologyNews_.enter(session.client);
}

std::optional<device::Time> Dispatcher::logLosses(device::Time now) {
  for (const service::ClientId client : service_.takeLosingClients()) {
    Session* session = sessions_.findByClient(client);
    if (session == nullptr || std::exchange(session->lossIsDue, true)) continue;
    lossesDue_.emplace(session->lossTold == 0 ? now : session->lossToldAt + LossLogInterval, client);
  }
  for (int i = 0; i < LinesAtOnce && !lossesDue_.empty() && lossesDue_.begin()->first <= now; ++i) {
    Session* session = sessions_.findByClient(lossesDue_.begin()->second);
    lossesDue_.erase(lossesDue_.begin());
    if (session == nullptr) continue;
    session->lossIsDue = false;
    logLoss(*session, now);
  }
  return lossesDue_.empty() ? std::nullopt : std::optional(lossesDue_.begin()->first);
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

void Dispatcher::log(const PeerIdentity& peer, std::string_view what) const {
  if (!log_) return;
  log_(sys::printable(peer.program) + " (process " + std::to_string(peer.process) + ") " + std::string(what));
}

}  // namespace host
