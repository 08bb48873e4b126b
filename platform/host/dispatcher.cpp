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

// Copies that cost as much as a message.
constexpr std::uint64_t CopiesATurn = 16;

// Changes of the graph that are kept for clients that have not got them yet, in windows.
constexpr std::size_t LogWindows = 4;

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
      graphLog_(LogWindows *
                static_cast<std::size_t>(std::max<std::uint64_t>(settings.graphWindow, wire::MinGraphWindow))),
      lostBefore_(LossBeforeInterval),
      uncountedLosses_(UncountedLossInterval),
      events_(wire::encode(0, wire::Events{})),
      eventsFront_(events_.size()) {
  settings_.eventWindow = std::max<std::size_t>(settings_.eventWindow, wire::MinEventWindow);
  settings_.graphWindow = std::max<std::uint64_t>(settings_.graphWindow, wire::MinGraphWindow);
  settings_.sendWindow = std::max<std::uint32_t>(settings_.sendWindow, 1);
}

Handled Dispatcher::receive(ConnectionId from, std::span<const std::uint8_t> message, device::Time now) {
  if (service_.isPassing() && isForDevice(message)) return {.all = false, .turns = 0};
  const std::uint64_t copies = copiesMade();
  Request request{from, 0, now};
  Handled handled;
  if (unfinished_.contains(from)) {
    handled = goOn(request, message);
  } else if (wire::InjectFrame::claims(message)) {
    handled = handleInject(request, message);
  } else if (auto envelope = wire::decode(message)) {
    request.tag = envelope->tag;
    std::visit([&](auto& body) { handle(request, body); }, envelope->body);
    handled.all = !unfinished_.contains(from);
  } else if (const auto tag = wire::tagOf(message)) {
    request.tag = *tag;
    answer(request, device::Status::BadRequest);
  }
  sendLaterAnswers();
  sendEvents();
  handled.turns += static_cast<int>((copiesMade() - copies) / CopiesATurn);
  return handled;
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
  // More of these waits for the next piece.
  const bool isMoreToSend = !ready_.empty() || graphNews_.next() || topologyNews_.next();
  const auto heldBackNext = tellHeldBack(now);
  const auto reliefNext = relieve(now) ? std::optional(now) : std::nullopt;
  for (int closed = 0; closed < ClosedAtOnce; ++closed) {
    const auto connection = newcomers_.overdue(now);
    if (!connection) break;
    connections_.disconnect(*connection);
  }
  return earliest({isMoreToSend ? std::optional(now) : std::nullopt, serviceNext, heldBackNext, reliefNext,
                   newcomers_.next(), logLosses(now), logLossesBefore(now)});
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
  graphNews_.leave(session.client);
  topologyNews_.leave(session.client);
  unfinished_.erase(session.control);
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
  showGraphChanges(*session);
  sendGraphChanges();
  answer(request, *session, reply);
}

void Dispatcher::handle(const Request& request, wire::AskTopology& message) {
  Session* session = sessionFor(request, message.session, &Session::control);
  if (session == nullptr) return;
  // An answer tells the news when its last piece has been sent.
  if (request.tag == 0) enterTopologyNews(*session);
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
  noteGraphChanges();
  session->graph = Credit(service_.graphVersion());
  session->graphStale = false;
  if (session->graphChannel != ConnectionId::None) graphNews_.enter(session->client);
  answer(request, *session, linksAnswer(service_, firstHandle_));
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
  topologyNews_.enter(session->client);
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
    noteGraphChanges();
    session->graph = Credit(service_.graphVersion());
    if (!session->graphStale) graphNews_.enter(session->client);
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
  connections_.continueLater(request.from);
}

void Dispatcher::continued(ConnectionId connection) {
  Session* session = sessions_.findByConnection(connection);
  if (session == nullptr || session->control != connection || session->answer == nullptr) return;
  LongAnswer::Piece piece;
  do {
    piece = session->answer->next();
    connections_.send(connection, wire::encode(session->answerTag, piece.body));
  } while (piece.more && piece.atOnce);
  if (piece.more) return connections_.continueLater(connection);
  session->answer.reset();
  // It shows all changes up to now.
  if (std::holds_alternative<wire::Topology>(piece.body)) enterTopologyNews(*session);
}

}  // namespace host
