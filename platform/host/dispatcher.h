// Handles messages from clients, and sends messages to them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/host/connections.h"
#include "platform/host/graph_log.h"
#include "platform/host/handled.h"
#include "platform/host/log.h"
#include "platform/host/long_answer.h"
#include "platform/host/newcomers.h"
#include "platform/host/news_queue.h"
#include "platform/host/peer_identity.h"
#include "platform/host/session_table.h"
#include "platform/host/settings.h"
#include "platform/service/service.h"
#include "platform/wire/inject_frame.h"
#include "platform/wire/messages.h"
#include "platform/wire/total_news.h"

namespace host {

// Passes the messages of clients to a service, and the service's answers and news to the clients. Outgoing messages
// reach the Connections before the operation returns. Has no sockets, threads or clock of its own.
//
// Nothing is sent beyond what a client has room for: events, graph changes, and Send and Inject messages have windows,
// and a request has one answer, which a client gets in pieces as it takes them.
//
// A message that is malformed, of another version or not allowed on this socket is answered with a Result if it has a
// tag, and is otherwise ignored.
class Dispatcher {
 public:
  // service and connections must outlive the dispatcher. warnings: receives the device's warnings, which log receives
  // too.
  Dispatcher(service::Service& service, Connections& connections, const Settings& settings, Log log, Log warnings = {});

  // Handles a message, or a piece of it. What is sent to many clients, and what many messages bring, is handled in
  // pieces of at most a millisecond or so.
  Handled receive(ConnectionId from, std::span<const std::uint8_t> message, device::Time now);

  // A connection has been made. It is closed again unless it opens a channel soon (see Newcomers).
  void connectionOpened(ConnectionId connection, device::Time now);

  // A connection has closed, after its last message. The client ends with its control channel; what it sent there
  // before another of its connections closed is still handled.
  void connectionClosed(ConnectionId connection, device::Time now);

  // A connection that continueLater was called for has its turn: sends the next piece of its answer, or the first.
  void continued(ConnectionId connection);

  // Tells senders how far the service has come. Call it once in a while: once a message would cost as much as the
  // message.
  void tellTaken();

  // Does the work that is due, in the service and here. Returns when to call again (see service::Service::advance).
  std::optional<device::Time> advance(device::Time now);

  // The service ends: logs everything not yet reported.
  void finish(device::Time now);

 private:
  struct Request {
    ConnectionId from;
    std::uint32_t tag;
    device::Time now;
  };

  // A request that the service has not answered yet.
  struct Unanswered {
    std::uint64_t session = 0;
    ConnectionId from = ConnectionId::None;
    std::uint32_t tag = 0;
  };

  void handle(const Request& request, wire::Hello& message);
  void handle(const Request& request, wire::Goodbye& message);
  void handle(const Request& request, wire::Tap& message);
  void handle(const Request& request, wire::Untap& message);
  void handle(const Request& request, wire::UntapAll& message);
  void handle(const Request& request, wire::Patch& message);
  void handle(const Request& request, wire::AskTopology& message);
  void handle(const Request& request, wire::AskOriginals& message);
  void handle(const Request& request, wire::AskLinks& message);
  void handle(const Request& request, wire::Send& message);
  void handle(const Request& request, wire::AskStats& message);
  void handle(const Request& request, wire::OpenEvents& message);
  void handle(const Request& request, wire::Consumed& message);
  void handle(const Request& request, wire::OpenGraph& message);
  void handle(const Request& request, wire::GraphSeen& message);
  // Messages that are read without decoding all of them, and those that only the service may send.
  template <class Message>
  void handle(const Request& request, Message& message);

  // Whether it carries messages for the device. They wait while another one is on its way.
  static bool isForDevice(std::span<const std::uint8_t> message);
  // Copies for taps, since the service started.
  std::uint64_t copiesMade() const;
  // A piece of an Inject: the first, or the next. goOn also ends a Send, whose message was on its way.
  Handled handleInject(Request& request, std::span<const std::uint8_t> message);
  Handled goOn(Request& request, std::span<const std::uint8_t> message);
  Handled inject(const Request& request, wire::InjectFrame& frame);

  static service::EventPortId toPort(std::uint32_t number) { return service::EventPortId{number}; }

  // Returns the session with this number if the request came by this one of its connections; else answers the request
  // and returns null.
  Session* sessionFor(const Request& request, std::uint64_t number, ConnectionId Session::*connection);

  // Returns the session with this number if the request shows its token and comes from the same user; else answers the
  // request and returns null.
  Session* sessionToOpen(const Request& request, std::uint64_t number, const wire::Token& token);

  // Whether there is room for one more session of this user.
  bool admits(const PeerIdentity& peer) const;

  // Frees some of the memory of whoever holds too much. Returns true if more remains to do.
  bool relieve(device::Time now);

  // Ends a connection that holds too much, and its client.
  void endHeavy(ConnectionId connection, device::Time now);

  // Logs how the client ended, and forgets it.
  void end(Session& session, std::string_view how, device::Time now);
  void answer(const Request& request, device::Status status);
  void answer(const Request& request, const wire::Body& body);
  // Its pieces are sent in turns of their own, the first one, too.
  void answer(const Request& request, Session& session, std::unique_ptr<LongAnswer> pieces);
  // Answers a request of the session now or later.
  void answer(const Request& request, Session& session, const service::Reply& reply);
  // Returns false, and answers the request, if the session waits for too many answers already.
  bool mayWait(const Request& request, const Session& session);
  void sendLaterAnswers();
  // The session ends: nobody waits for its answers any more.
  void dropAnswers(const Session& session);
  void sendNotes();
  void countTaken(Session& session);
  void sendTaken(Session& session);
  std::optional<device::Time> tellHeldBack(device::Time now);
  // To some of the clients for which events began to wait.
  void sendEvents();
  // As far as this client has room. Returns how many bytes.
  std::size_t sendEvents(Session& session);
  // From now on, all clients with a graph channel wait for the changes.
  void noteGraphChanges();
  // To some of those that wait for changes.
  void sendGraphChanges();
  // At most so many, also to a client that does not wait. Returns the number of messages.
  std::size_t sendGraphChanges(Session& session, std::size_t most);
  // All of them, to one client.
  void showGraphChanges(Session& session);
  // To some of those that wait for this news.
  void tellTopologyChanged();
  // The client knows the topology of now, and wants to hear of changes.
  void enterTopologyNews(const Session& session);
  // These return when to call them again.
  std::optional<device::Time> logLosses(device::Time now);
  std::optional<device::Time> logLossesBefore(device::Time now);
  void logLossBefore(std::uint64_t count) const;
  void logUncountedLoss(std::uint64_t times) const;
  void logLoss(Session& session, device::Time now);
  void log(const Session& session, std::string_view what) const { log(session.peer, what); }
  void log(const PeerIdentity& peer, std::string_view what) const;

  service::Service& service_;
  Connections& connections_;
  Settings settings_;
  Log log_;
  Log warnings_;
  std::uint64_t firstHandle_;      // see Settings
  std::uint64_t topologyVersion_;  // as last reported to the sessions
  SessionTable sessions_;
  Newcomers newcomers_;
  std::deque<service::ClientId> ready_;  // events began to wait for them
  GraphLog graphLog_;
  NewsQueue graphNews_;     // those with a graph channel that are not stale
  NewsQueue topologyNews_;  // those with an event channel that were not told since they asked
  // Of the frames that have been handled in part, what is left, by their connections.
  std::unordered_map<ConnectionId, wire::InjectFrame::Position> unfinished_;
  std::unordered_map<service::RequestId, Unanswered> unanswered_;
  std::vector<service::ClientId> takenOwed_;  // they have sent what Taken does not count yet
  device::Time heldBackToldAt_{};
  std::set<std::pair<device::Time, service::ClientId>> lossesDue_;  // when to log about whom
  wire::TotalNews lostBefore_;
  wire::TotalNews uncountedLosses_;
  std::vector<std::uint8_t> events_;  // an Events message under construction
  std::size_t eventsFront_;           // its bytes before the entries
};

}  // namespace host
