#include "platform/host/dispatcher.h"

#include <algorithm>
#include <string>
#include <utility>
#include <variant>

#include "platform/host/topology_message.h"
#include "platform/wire/printable.h"

namespace host {
namespace {

// Larger pieces would only make the others wait longer.
constexpr std::size_t MaxEventsBytes = 64U << 10U;

service::Link toLink(const wire::Patch& patch) {
  return {patch.sourceGroup, patch.sourceIndex, patch.sinkGroup, patch.sinkIndex};
}

wire::LinkRecord toRecord(const service::Link& link) {
  return {link.sourceGroup, link.sourceIndex, link.sinkGroup, link.sinkIndex};
}

service::EventPortId toPort(std::uint32_t number) { return service::EventPortId{number}; }

}  // namespace

Dispatcher::Dispatcher(service::Service& service, Peers& peers, const Limits& limits, Log log)
    : service_(service),
      peers_(peers),
      limits_(limits),
      log_(std::move(log)),
      events_(wire::encode(0, wire::Events{})),
      eventsFront_(events_.size()) {
  limits_.eventWindow = std::max<std::size_t>(limits_.eventWindow, wire::MinEventWindow);
  limits_.graphWindow = std::max<std::uint64_t>(limits_.graphWindow, wire::MinGraphWindow);
  limits_.sendWindow = std::max<std::uint32_t>(limits_.sendWindow, 1);
}

void Dispatcher::receive(std::string_view peer, std::span<const std::uint8_t> message, service::Time now) {
  Request request{peer, 0, now};
  if (auto envelope = wire::decode(message)) {
    request.tag = envelope->tag;
    std::visit([&](auto& body) { handle(request, body); }, envelope->body);
  } else if (const auto tag = wire::tagOf(message)) {
    request.tag = *tag;
    answer(request, wire::Status::BadRequest);
  }
  sendEvents();
  removeGone(now);
}

void Dispatcher::idle(service::Time now) {
  if (!std::exchange(takenOwed_, false)) return;
  for (auto& [number, session] : sessions_.all()) sendTaken(session);
  removeGone(now);
}

std::optional<service::Time> Dispatcher::advance(service::Time now) {
  const auto next = service_.advance(now);
  sendEvents();
  removeGone(now);
  return next;
}

void Dispatcher::handle(const Request& request, wire::Hello& message) {
  // Nobody could learn of a session whose Hello asks for no answer.
  if (request.tag == 0) return;
  if (sessions_.findByPeer(request.peer) != nullptr) {
    answer(request, wire::Status::BadRequest);
    return;
  }
  Session& session = *sessions_.add(request.peer, service_.addClient());
  session.name = wire::printable(message.program) + " (process " + std::to_string(message.process) + ")";
  log(session, "has come");
  answer(request, wire::Welcome{session.number, limits_.sendWindow});
}

void Dispatcher::handle(const Request& request, wire::Goodbye& message) {
  const Session* session = sessionFor(request, message.session, &Session::controlPeer);
  if (session == nullptr) return;
  log(*session, "has left");
  service_.removeClient(session->client, request.now);
  sessions_.remove(message.session);
  answer(request, wire::Status::Ok);
}

void Dispatcher::handle(const Request& request, wire::Tap& message) {
  const Session* session = sessionFor(request, message.session, &Session::controlPeer);
  if (session == nullptr) return;
  answer(request,
         service_.tap(session->client, toPort(message.eventPort), message.name, message.holderBytes, request.now));
}

void Dispatcher::handle(const Request& request, wire::Untap& message) {
  const Session* session = sessionFor(request, message.session, &Session::controlPeer);
  if (session == nullptr) return;
  answer(request, service_.untap(session->client, toPort(message.eventPort), message.name, request.now));
}

void Dispatcher::handle(const Request& request, wire::UntapAll& message) {
  const Session* session = sessionFor(request, message.session, &Session::controlPeer);
  if (session == nullptr) return;
  service_.untapAll(session->client, toPort(message.eventPort), request.now);
  answer(request, wire::Status::Ok);
}

void Dispatcher::handle(const Request& request, wire::Patch& message) {
  if (sessionFor(request, message.session, &Session::controlPeer) == nullptr) return;
  const service::Link link = toLink(message);
  const wire::Status status =
      message.made ? service_.connect(link, request.now) : service_.disconnect(link, request.now);
  // The change goes out before the answer, so that who made it usually finds it there already.
  sendGraphChanges();
  answer(request, status);
}

void Dispatcher::handle(const Request& request, wire::AskTopology& message) {
  if (sessionFor(request, message.session, &Session::controlPeer) == nullptr) return;
  answer(request, topologyMessage(service_.topology()));
}

void Dispatcher::handle(const Request& request, wire::AskLinks& message) {
  Session* session = sessionFor(request, message.session, &Session::controlPeer);
  if (session == nullptr) return;
  wire::Links links{service_.graphVersion(), {}};
  for (const service::Link& link : service_.links()) links.links.push_back(toRecord(link));
  session->graph = Credit(links.version);
  session->graphStale = false;
  answer(request, links);
}

void Dispatcher::handle(const Request& request, wire::Send& message) {
  Session* session = sessions_.find(message.session);
  if (session == nullptr || session->controlPeer != request.peer) {
    // Told even without a tag: nothing else says that the message went nowhere.
    sendTo(request.peer, wire::encode(request.tag, wire::Result{wire::Status::NoSession, service_.graphVersion()}));
    return;
  }
  service_.send(session->client, toPort(message.eventPort), {message.group, message.bytes}, request.now);
  ++session->taken;
  takenOwed_ = true;
  const std::uint64_t often = std::max<std::uint64_t>(limits_.sendWindow / 4, 1);
  if (session->taken - session->takenTold >= often) sendTaken(*session);
}

void Dispatcher::handle(const Request& request, wire::OpenEvents& message) {
  Session* session = sessions_.find(message.session);
  if (session == nullptr) return answer(request, wire::Status::NoSession);
  const bool opened = sessions_.openEvents(*session, request.peer);
  answer(request, opened ? wire::Status::Ok : wire::Status::BadRequest);
}

void Dispatcher::handle(const Request& request, wire::Consumed& message) {
  Session* session = sessionFor(request, message.session, &Session::eventPeer);
  if (session != nullptr) session->events.acknowledge(message.bytes);
}

void Dispatcher::handle(const Request& request, wire::OpenGraph& message) {
  Session* session = sessions_.find(message.session);
  if (session == nullptr) return answer(request, wire::Status::NoSession);
  const bool opened = sessions_.openGraph(*session, request.peer);
  if (opened) session->graph = Credit(service_.graphVersion());
  answer(request, opened ? wire::Status::Ok : wire::Status::BadRequest);
}

void Dispatcher::handle(const Request& request, wire::GraphSeen& message) {
  Session* session = sessionFor(request, message.session, &Session::graphPeer);
  if (session != nullptr) session->graph.acknowledge(message.version);
}

template <class Message>
void Dispatcher::handle(const Request& request, Message& /*message*/) {
  answer(request, wire::Status::BadRequest);
}

Session* Dispatcher::sessionFor(const Request& request, std::uint64_t number, std::string Session::*peer) {
  Session* session = sessions_.find(number);
  if (session != nullptr && session->*peer == request.peer) return session;
  answer(request, wire::Status::NoSession);
  return nullptr;
}

void Dispatcher::answer(const Request& request, wire::Status status) {
  answer(request, wire::Result{status, service_.graphVersion()});
}

void Dispatcher::answer(const Request& request, const wire::Body& body) {
  if (request.tag != 0) sendTo(request.peer, wire::encode(request.tag, body));
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

void Dispatcher::sendEvents() {
  for (auto& [number, session] : sessions_.all()) {
    if (!session.eventPeer.empty()) sendEvents(session);
  }
}

void Dispatcher::sendEvents(Session& session) {
  while (!session.gone && session.events.onItsWay() < limits_.eventWindow && service_.hasEvents(session.client)) {
    const std::uint64_t room = limits_.eventWindow - session.events.onItsWay();
    events_.resize(eventsFront_);
    session.events.sent(service_.takeEvents(session.client, std::min<std::uint64_t>(room, MaxEventsBytes), events_));
    sendTo(session.eventPeer, events_);
  }
}

void Dispatcher::sendGraphChanges() {
  for (const service::GraphChange& change : service_.takeGraphChanges()) {
    const auto message = wire::encode(0, wire::GraphChanged{change.version, change.added, toRecord(change.link)});
    for (auto& [number, session] : sessions_.all()) {
      if (session.graphPeer.empty() || session.graphStale) continue;
      if (session.graph.onItsWay() < limits_.graphWindow) {
        session.graph.sent(1);
        sendTo(session.graphPeer, message);
      } else {
        session.graphStale = true;
        sendTo(session.graphPeer, wire::encode(0, wire::GraphStale{}));
      }
    }
  }
}

void Dispatcher::removeGone(service::Time now) {
  if (!std::exchange(someGone_, false)) return;
  std::vector<std::uint64_t> gone;
  for (const auto& [number, session] : sessions_.all()) {
    if (session.gone) gone.push_back(number);
  }
  for (const std::uint64_t number : gone) {
    const Session& session = *sessions_.find(number);
    log(session, "cannot be reached any more");
    service_.removeClient(session.client, now);
    sessions_.remove(number);
  }
}

void Dispatcher::log(const Session& session, std::string_view what) const {
  if (log_) log_(session.name + " " + std::string(what));
}

}  // namespace host
