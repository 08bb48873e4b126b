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

// The event socket. Only for the thread that receives.
class EventChannel {
 public:
  // Throws zmq::error_t when there is no such address, or the context gives no socket.
  EventChannel(zmq::context_t& context, const std::string& address, std::uint64_t session);

  std::uint64_t session() const { return session_; }

  // True when the service has gone. What had arrived before can still be received.
  bool lost() { return dealer_.closed(); }

  // True inside a port's receiveMain: the channel must not go then.
  bool dispatching() const { return dispatching_; }

  // True once after the service has said that groups or ports have come or gone.
  bool takeTopologyNews() { return std::exchange(topologyChanged_, false); }

  // Asks for events. False when the service has not answered in time.
  bool open(const Deadline& deadline);

  // Waits up to the deadline, or to a signal, for events, and gives them to their ports. Goes on without waiting while
  // more stand ready and the deadline has not passed; of what stands ready at least one port is given something,
  // however short the time. True when a port was given something. Inside a port's receiveMain it does nothing.
  bool receive(const PortRegistry& ports, const Deadline& deadline);

 private:
  // Goes on with the entries at hand, or the next message. False when there is nothing.
  bool nextEntries();
  bool dispatch(const PortRegistry& ports, const wire::EventEntry& entry);
  void entriesDone();

  Dealer dealer_;
  std::uint64_t session_;
  std::optional<wire::EventReader> entries_;  // of the message that the socket holds, as far as they are left
  std::size_t entryBytes_ = 0;                // of that message
  std::uint64_t consumed_ = 0;
  std::uint64_t consumedTold_ = 0;
  bool dispatching_ = false;
  bool topologyChanged_ = false;
  UncountedLosses uncounted_;
};

}  // namespace client
