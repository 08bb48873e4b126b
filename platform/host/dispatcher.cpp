#include "platform/host/dispatcher.h"

#include <algorithm>
#include <chrono>
#include <initializer_list>
#include <string>
#include <utility>
#include <variant>

#include "platform/host/handle_offset.h"
#include "platform/host/random_number.h"
#include "platform/system/printable.h"

namespace host {
namespace {

std::optional<device::Time> earliest(std::initializer_list<std::optional<device::Time>> times) {
  std::optional<device::Time> first;
  for (const auto& time : times) {
    if (time && (!first || *time < *first)) first = time;
  }
  return first;
}

constexpr device::Time LossBeforeInterval = std::chrono::seconds(1);

// A system that is late loses an unknown number of messages again and again.
constexpr device::Time UncountedLossInterval = std::chrono::seconds(10);

// Connections that belong to nobody and are closed at once, between which others are served.
constexpr int ClosedAtOnce = 16;

service::EventPortId toPort(std::uint32_t number) { return service::EventPortId{number}; }

}  // namespace

Dispatcher::Dispatcher(service::Service& service, Connections& connections, const Settings& settings, Log log,
                       Log warnings)
    : service_(service),
      connections_(connections),
      settings_(settings),
      log_(std::move(log)),
      warnings_(std::move(warnings)),
      firstHandle_(settings.firstHandle ? *settings.firstHandle : randomNumber()),
      topologyVersion_(service.topologyVersion()),
      lostBefore_(LossBeforeInterval),
      uncountedLosses_(UncountedLossInterval),
      events_(wire::encode(0, wire::Events{})),
      eventsFront_(events_.size()) {
  settings_.eventWindow = std::max<std::size_t>(settings_.eventWindow, wire::MinEventWindow);
  settings_.graphWindow = std::max<std::uint64_t>(settings_.graphWindow, wire::MinGraphWindow);
  settings_.sendWindow = std::max<std::uint32_t>(settings_.sendWindow, 1);
}

void Dispatcher::receive(ConnectionId from, std::span<const std::uint8_t> message, device::Time now) {
  Request request{from, 0, now};
  if (auto envelope = wire::decode(message)) {
    request.tag = envelope->tag;
    std::visit([&](auto& body) { handle(request, body); }, envelope->body);
  } else if (const auto tag = wire::tagOf(message)) {
    request.tag = *tag;
    answer(request, device::Status::BadRequest);
  }
  sendLaterAnswers();
  sendEvents();
}

void Dispatcher::tellTaken() {
  if (service_.behind()) return;
  for (const service::ClientId client : std::exchange(takenOwed_, {})) {
    Session* session = sessions_.findByClient(client);
    if (session == nullptr) continue;
    session->takenIsOwed = false;
    sendTaken(*session);
  }
}

std::optional<device::Time> Dispatcher::advance(device::Time now) {
  const auto serviceNext = service_.advance(now);
  sendGraphChanges();
  sendLaterAnswers();
  sendEvents();
  tellTopologyChanged();
  sendNotes();
  const auto heldBackNext = tellHeldBack(now);
  const auto reliefNext = relieve(now) ? std::optional(now) : std::nullopt;
  for (int closed = 0; closed < ClosedAtOnce; ++closed) {
    const auto connection = newcomers_.overdue(now);
    if (!connection) break;
    connections_.disconnect(*connection);
  }
  return earliest({serviceNext, heldBackNext, reliefNext, newcomers_.next(), logLosses(now), logLossesBefore(now)});
}

void Dispatcher::connectionOpened(ConnectionId connection, device::Time now) { newcomers_.enter(connection, now); }

void Dispatcher::connectionClosed(ConnectionId connection, device::Time now) {
  if (Session* session = sessions_.findByConnection(connection)) {
    if (connection == session->control) {
      end(*session, "lost its connection", now);
    } else {
      sessions_.close(*session, connection);
      connections_.endAfterReading(session->control);
    }
  }
  newcomers_.leave(connection);
}

void Dispatcher::end(Session& session, std::string_view how, device::Time now) {
  logLoss(session, now);
  log(session, how);
  service_.removeClient(session.client, now);
  dropAnswers(session);
  // They belong to nobody any more.
  for (const ConnectionId connection : {session.control, session.eventChannel, session.graphChannel}) {
    if (connection != ConnectionId::None) newcomers_.enter(connection, now);
  }
  sessions_.remove(session.number);
}

void Dispatcher::handle(const Request& request, wire::Hello& /*message*/) {
  // A Hello without a tag gets no answer, so nobody could learn of its session.
  if (request.tag == 0) return;
  if (sessions_.findByConnection(request.from) != nullptr) {
    answer(request, device::Status::BadRequest);
    return;
  }
  PeerIdentity peer = connections_.identity(request.from);
  if (!admits(peer)) return answer(request, device::Status::Refused);
  Session& session = *sessions_.add(request.from, service_.addClient(peer.user.value_or(0)));
  session.peer = std::move(peer);
  session.token = {randomNumber(), randomNumber()};
  newcomers_.leave(request.from);
  log(session, "connected");
  answer(request, wire::Welcome{session.number, settings_.sendWindow, session.token});
}

void Dispatcher::handle(const Request& request, wire::Goodbye& message) {
  Session* session = sessionFor(request, message.session, &Session::control);
  if (session == nullptr) return;
  // A client that leaves right after it sent still learns what could not be sent.
  sendTaken(*session);
  end(*session, "disconnected", request.now);
  answer(request, device::Status::Ok);
}

void Dispatcher::handle(const Request& request, wire::Tap& message) {
  Session* session = sessionFor(request, message.session, &Session::control);
  if (session == nullptr || !mayWait(request, *session)) return;
  // An event must fit into a message to the client.
  const auto holderBytes = std::min<std::uint32_t>(message.holderBytes, device::MaxMessageBytes);
  answer(request, *session,
         service_.tap(session->client, toPort(message.eventPort), message.name, holderBytes, request.now));
}

void Dispatcher::handle(const Request& request, wire::Untap& message) {
  const Session* session = sessionFor(request, message.session, &Session::control);
  if (session == nullptr) return;
  answer(request, service_.untap(session->client, toPort(message.eventPort), message.name, request.now));
}

void Dispatcher::handle(const Request& request, wire::UntapAll& message) {
  const Session* session = sessionFor(request, message.session, &Session::control);
  if (session == nullptr) return;
  service_.untapAll(session->client, toPort(message.eventPort), request.now);
  answer(request, device::Status::Ok);
}

void Dispatcher::handle(const Request& request, wire::Patch& message) {
  Session* session = sessionFor(request, message.session, &Session::control);
  if (session == nullptr || !mayWait(request, *session)) return;
  // Its client has told the user of an error already.
  const bool isLate = message.until != 0 && static_cast<std::uint64_t>(request.now.count()) >= message.until;
  if (isLate) return answer(request, device::Status::Refused);
  const device::Link link = inService(message.link, firstHandle_);
  if (message.made && !service_.hasRoomFor(session->client, link)) return answer(request, device::Status::Refused);
  const service::Reply reply =
      message.made ? service_.connect(link, request.now) : service_.disconnect(link, request.now);
  // The change goes out before the answer, so that the client that made it usually sees it by then.
  sendGraphChanges();
  answer(request, *session, reply);
}

void Dispatcher::handle(const Request& request, wire::AskTopology& message) {
  Session* session = sessionFor(request, message.session, &Session::control);
  if (session == nullptr) return;
  session->topologyTold = session->topologyTold && request.tag != 0;
  answer(request, *session, topologyAnswer(service_, firstHandle_));
}

void Dispatcher::handle(const Request& request, wire::AskOriginals& message) {
  Session* session = sessionFor(request, message.session, &Session::control);
  if (session != nullptr) answer(request, *session, originalsAnswer(service_, firstHandle_));
}

void Dispatcher::handle(const Request& request, wire::AskLinks& message) {
  Session* session = sessionFor(request, message.session, &Session::control);
  if (session == nullptr) return;
  // What the answer includes is no news any more.
  sendGraphChanges();
  session->graph = Credit(service_.graphVersion());
  session->graphStale = false;
  answer(request, *session, linksAnswer(service_, firstHandle_));
}

void Dispatcher::handle(const Request& request, wire::Send& message) {
  Session* session = sessions_.find(message.session);
  if (session == nullptr || session->control != request.from) {
    // Answered even without a tag: nothing else says that the message was not delivered.
    connections_.send(request.from,
                      wire::encode(request.tag, wire::Result{device::Status::NoSession, service_.graphVersion()}));
    return;
  }
  service_.send(session->client, toPort(message.eventPort), {message.group, message.bytes}, request.now);
  countTaken(*session);
}

void Dispatcher::handle(const Request& request, wire::Inject& message) {
  Session* session = sessions_.find(message.session);
  device::Status status = device::Status::NoSession;
  if (session != nullptr && session->control == request.from) {
    status = device::Status::Ok;
    for (const wire::InjectItem& item : message.messages) {
      status = service_.inject(session->client, message.name, {item.group, item.bytes}, request.now);
      if (status != device::Status::Ok) break;
    }
    countTaken(*session);
  }
  // Answered even without a tag, as for Send.
  if (status != device::Status::Ok) {
    connections_.send(request.from, wire::encode(request.tag, wire::Result{status, service_.graphVersion()}));
  }
}

void Dispatcher::handle(const Request& request, wire::AskStats& message) {
  Session* session = sessionFor(request, message.session, &Session::control);
  if (session != nullptr) answer(request, *session, statsAnswer(service_, sessions_, settings_));
}

void Dispatcher::handle(const Request& request, wire::OpenEvents& message) {
  Session* session = sessionToOpen(request, message.session, message.token);
  if (session == nullptr) return;
  const bool opened = sessions_.openEvents(*session, request.from);
  answer(request, opened ? device::Status::Ok : device::Status::BadRequest);
  if (!opened) return;
  newcomers_.leave(request.from);
  sendEvents(*session);
}

void Dispatcher::handle(const Request& request, wire::Consumed& message) {
  Session* session = sessionFor(request, message.session, &Session::eventChannel);
  if (session == nullptr) return;
  session->events.acknowledge(message.bytes);
  sendEvents(*session);
}

void Dispatcher::handle(const Request& request, wire::OpenGraph& message) {
  Session* session = sessionToOpen(request, message.session, message.token);
  if (session == nullptr) return;
  const bool opened = sessions_.openGraph(*session, request.from);
  if (opened) {
    newcomers_.leave(request.from);
    sendGraphChanges();
    session->graph = Credit(service_.graphVersion());
  }
  answer(request, opened ? device::Status::Ok : device::Status::BadRequest);
}

void Dispatcher::handle(const Request& request, wire::GraphSeen& message) {
  Session* session = sessionFor(request, message.session, &Session::graphChannel);
  if (session != nullptr) session->graph.acknowledge(message.version);
}

template <class Message>
void Dispatcher::handle(const Request& request, Message& /*message*/) {
  answer(request, device::Status::BadRequest);
}

Session* Dispatcher::sessionFor(const Request& request, std::uint64_t number, ConnectionId Session::*connection) {
  Session* session = sessions_.find(number);
  if (session != nullptr && session->*connection == request.from) return session;
  answer(request, device::Status::NoSession);
  return nullptr;
}

Session* Dispatcher::sessionToOpen(const Request& request, std::uint64_t number, const wire::Token& token) {
  Session* session = sessions_.find(number);
  if (session != nullptr && session->token == token && session->peer.user == connections_.identity(request.from).user) {
    return session;
  }
  answer(request, device::Status::NoSession);
  return nullptr;
}

void Dispatcher::answer(const Request& request, device::Status status) {
  answer(request, wire::Result{status, service_.graphVersion()});
}

void Dispatcher::answer(const Request& request, const wire::Body& body) {
  if (request.tag != 0) connections_.send(request.from, wire::encode(request.tag, body));
}

void Dispatcher::answer(const Request& request, Session& session, std::unique_ptr<LongAnswer> pieces) {
  if (request.tag == 0) return;
  session.answer = std::move(pieces);
  session.answerTag = request.tag;
  continued(request.from);
}

void Dispatcher::continued(ConnectionId connection) {
  Session* session = sessions_.findByConnection(connection);
  if (session == nullptr || session->control != connection || session->answer == nullptr) return;
  const auto [piece, more] = session->answer->next();
  connections_.send(connection, wire::encode(session->answerTag, piece));
  if (more) return connections_.continueLater(connection);
  session->answer.reset();
  // It shows all changes up to now.
  if (std::holds_alternative<wire::Topology>(piece)) session->topologyTold = false;
}

}  // namespace host
