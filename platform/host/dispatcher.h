// Messages of clients in, messages to clients out.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/host/limits.h"
#include "platform/host/log.h"
#include "platform/host/peers.h"
#include "platform/host/session_table.h"
#include "platform/service/service.h"
#include "platform/wire/messages.h"
#include "platform/wire/total_news.h"

namespace host {

// Gives the messages of clients to a service, and the answers and the news of the service to the clients. What goes
// out goes to Peers before the operation returns. Without sockets, threads and clock of its own.
//
// Nothing is sent that a client has no room for: events, graph changes and Send messages have windows, and a request
// has one answer. So a peer that takes nothing more has broken the rules, or gone, and its client is removed.
//
// A message that is malformed, of another version or out of place is answered with a Result when it has a tag, and is
// otherwise ignored.
class Dispatcher {
 public:
  // service and peers must outlive the dispatcher. warnings: takes what the device warns of, which log takes too.
  Dispatcher(service::Service& service, Peers& peers, const Limits& limits, Log log, Log warnings = {});

  // A message has come from peer.
  void receive(std::string_view peer, std::span<const std::uint8_t> message, device::Time now);

  // A connection (see Peers::connection) seems to have closed. Whether those who came by it are still there is found
  // out by sending to them for a while.
  void connectionClosed(int connection, device::Time now);

  // No message stands ready: tells waiting senders how far the service has come.
  void idle(device::Time now);

  // Does what is due in the service, and here. Answers when to call again (see service::Service::advance).
  std::optional<device::Time> advance(device::Time now);

  // The service ends: logs what was still to be told.
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
  // What only the service sends is out of place.
  template <class Message>
  void handle(const Request& request, Message& message);

  // The session of this number, when the request came from its socket for the purpose; else null, and answered.
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
  // Notes by which connection one of the session's sockets (0 control, 1 events, 2 graph) has just come.
  void noteConnection(Session& session, std::size_t socket, device::Time now);
  // Both answer when to call them again.
  std::optional<device::Time> probeSuspects(device::Time now);
  std::optional<device::Time> logLosses(device::Time now);
  std::optional<device::Time> logLossesBefore(device::Time now);
  void logLossBefore(std::uint64_t count) const;
  void logUncountedLoss(std::uint64_t times) const;
  void logLoss(Session& session, device::Time now);
  void log(const Session& session, std::string_view what) const;

  service::Service& service_;
  Peers& peers_;
  Limits limits_;
  Log log_;
  Log warnings_;
  std::uint64_t firstHandle_;      // see Limits
  std::uint64_t topologyVersion_;  // of which the sessions have been told
  SessionTable sessions_;
  std::unordered_map<int, device::Time> closedAt_;  // connections that have closed lately
  bool someGone_ = false;
  bool takenOwed_ = false;
  device::Time heldBackToldAt_{};
  wire::TotalNews lostBefore_;
  wire::TotalNews uncountedLosses_;
  std::vector<std::uint8_t> events_;  // an Events message under construction
  std::size_t eventsFront_;           // bytes of it in front of the entries
};

}  // namespace host
