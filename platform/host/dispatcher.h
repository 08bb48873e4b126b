// Handles messages from clients, and sends messages to them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/host/log.h"
#include "platform/host/peer_socket.h"
#include "platform/host/session_table.h"
#include "platform/host/settings.h"
#include "platform/service/service.h"
#include "platform/wire/messages.h"
#include "platform/wire/total_news.h"

namespace host {

// Passes the messages of clients to a service, and the service's answers and news to the clients. Outgoing messages
// reach the PeerSocket before the operation returns. Has no sockets, threads or clock of its own.
//
// Nothing is sent beyond what a client has room for: events, graph changes, and Send and Inject messages have windows,
// and a request has one answer. So a peer that takes no more has broken the rules or disconnected, and its client is
// removed.
//
// A message that is malformed, of another version or not allowed on this socket is answered with a Result if it has a
// tag, and is otherwise ignored.
class Dispatcher {
 public:
  // service and peers must outlive the dispatcher. warnings: receives the device's warnings, which log receives too.
  Dispatcher(service::Service& service, PeerSocket& peers, const Settings& settings, Log log, Log warnings = {});

  // Handles a message from peer.
  void receive(std::string_view peer, std::span<const std::uint8_t> message, device::Time now);

  // A connection (see PeerSocket::connection) seems to be closed. Sends to its clients for a while, to find out whether
  // they are still there.
  void connectionClosed(int connection, device::Time now);

  // No message is ready: tells waiting senders how far the service has come.
  void idle(device::Time now);

  // Does the work that is due, in the service and here. Returns when to call again (see service::Service::advance).
  std::optional<device::Time> advance(device::Time now);

  // The service ends: logs everything not yet reported.
  void finish(device::Time now);

 private:
  struct Request {
    std::string_view peer;
    std::uint32_t tag;
    device::Time now;
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
  void handle(const Request& request, wire::Inject& message);
  void handle(const Request& request, wire::AskStats& message);
  void handle(const Request& request, wire::OpenEvents& message);
  void handle(const Request& request, wire::Consumed& message);
  void handle(const Request& request, wire::OpenGraph& message);
  void handle(const Request& request, wire::GraphSeen& message);
  // Messages that only the service may send.
  template <class Message>
  void handle(const Request& request, Message& message);

  // Returns the session with this number if the request came from its socket for this purpose; else answers the request
  // and returns null.
  Session* sessionFor(const Request& request, std::uint64_t number, std::string Session::*peer);

  void answer(const Request& request, device::Status status);
  void answer(const Request& request, const wire::Body& body);
  void sendTo(std::string_view peer, std::span<const std::uint8_t> message);
  void sendNotes();
  void countTaken(Session& session);
  void sendTaken(Session& session);
  std::optional<device::Time> tellHeldBack(device::Time now);
  void sendEvents();
  void sendEvents(Session& session);
  void sendGraphChanges();
  void tellTopologyChanged();
  void removeGone(device::Time now);
  // Records by which connection a message just came from one of the session's sockets (0 control, 1 events, 2 graph).
  void noteConnection(Session& session, std::size_t socket, device::Time now);
  // These return when to call them again.
  std::optional<device::Time> probeSuspects(device::Time now);
  std::optional<device::Time> logLosses(device::Time now);
  std::optional<device::Time> logLossesBefore(device::Time now);
  void logLossBefore(std::uint64_t count) const;
  void logUncountedLoss(std::uint64_t times) const;
  void logLoss(Session& session, device::Time now);
  void log(const Session& session, std::string_view what) const;

  service::Service& service_;
  PeerSocket& peers_;
  Settings settings_;
  Log log_;
  Log warnings_;
  std::uint64_t firstHandle_;      // see Settings
  std::uint64_t topologyVersion_;  // as last reported to the sessions
  SessionTable sessions_;
  std::unordered_map<int, device::Time> closedAt_;  // recently closed connections
  bool someGone_ = false;
  bool takenOwed_ = false;
  device::Time heldBackToldAt_{};
  wire::TotalNews lostBefore_;
  wire::TotalNews uncountedLosses_;
  std::vector<std::uint8_t> events_;  // an Events message under construction
  std::size_t eventsFront_;           // its bytes before the entries
};

}  // namespace host
