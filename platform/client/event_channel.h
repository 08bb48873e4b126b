// Events of one client.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <zmq.hpp>

#include "platform/client/deadline.h"
#include "platform/client/dealer.h"
#include "platform/client/port_registry.h"
#include "platform/client/uncounted_losses.h"
#include "platform/wire/events.h"

namespace client {

// The event socket. Only for the receiving thread.
class EventChannel {
 public:
  // Throws zmq::error_t if there is no such address, or if the context gives no socket.
  EventChannel(zmq::context_t& context, const std::string& address, std::uint64_t session);

  std::uint64_t session() const { return session_; }

  // True if the connection is closed. Events that arrived before can still be received.
  bool lost() { return dealer_.closed(); }

  // True inside a port's receiveMain: do not destroy the channel then.
  bool dispatching() const { return dispatching_; }

  // True once after the service has said that groups or ports were added or removed.
  bool takeTopologyNews() { return std::exchange(topologyChanged_, false); }

  // Asks for events. Returns false if the service does not answer in time.
  bool open(const Deadline& deadline);

  // Waits for events until the deadline or a signal, and passes them to their ports. Continues without waiting while
  // more events are ready and the deadline has not passed. If events are ready, at least one port gets one, however
  // short the timeout. Returns true if a port got an event. Does nothing inside a port's receiveMain.
  bool receive(const PortRegistry& ports, const Deadline& deadline);

 private:
  // Continues with the current entries, or with the next message. Returns false if there is neither.
  bool nextEntries();
  bool dispatch(const PortRegistry& ports, const wire::EventEntry& entry);
  void entriesDone();

  Dealer dealer_;
  std::uint64_t session_;
  std::optional<wire::EventReader> entries_;  // what is left of the message that the socket holds
  std::size_t entryBytes_ = 0;                // of that message
  std::uint64_t consumed_ = 0;
  std::uint64_t consumedTold_ = 0;
  bool dispatching_ = false;
  bool topologyChanged_ = false;
  UncountedLosses uncounted_;
};

}  // namespace client
