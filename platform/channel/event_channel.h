// Events of one client.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "platform/channel/connection.h"
#include "platform/channel/connector.h"
#include "platform/channel/deadline.h"
#include "platform/channel/uncounted_losses.h"
#include "platform/wire/events.h"
#include "platform/wire/messages.h"

namespace channel {

// Takes an event for one of the client's event ports. port: the name of the device's port, at most MaxNameBytes. event:
// header and records, as the service sent them. Both views are valid for the call only. Returns false if the client has
// no such event port (any more).
using TakeEvent =
    std::function<bool(std::uint32_t eventPort, std::string_view port, std::span<const std::uint8_t> event)>;

// The event socket. Only for the receiving thread.
class EventChannel {
 public:
  // Blocks as Connector::connect does. Throws an exception derived from std::exception if the system gives no socket.
  EventChannel(const Connector& connector, const wire::Welcome& welcome, const Deadline& deadline);

  std::uint64_t session() const { return welcome_.session; }

  // True if the connection is closed. Events that arrived before can still be received.
  bool lost() { return connection_.closed(); }

  // As ControlChannel::fault.
  std::optional<std::string> fault() const {
    return connection_.gotTooLong() ? std::optional<std::string>(TooLongMessage) : std::nullopt;
  }

  // True while an event is taken: do not destroy the channel then.
  bool dispatching() const { return dispatching_; }

  // True once after the service has said that groups or ports were added or removed.
  bool takeTopologyNews() { return std::exchange(topologyChanged_, false); }

  // Asks for events. Returns false if the service does not answer in time.
  bool open(const Deadline& deadline);

  // Waits for events until the deadline or a signal, and passes them to take. Continues without waiting while more
  // events are ready and the deadline has not passed. If events are ready, at least one is taken, however short the
  // timeout. Returns true if one was taken. Does nothing while an event is taken.
  bool receive(const TakeEvent& take, const Deadline& deadline);

 private:
  // Continues with the current entries, or with the next message. Returns false if there is neither.
  bool nextEntries();
  bool pass(const TakeEvent& take, const wire::EventEntry& entry);
  void entriesDone();

  Connection connection_;
  wire::Welcome welcome_;
  std::optional<wire::EventReader> entries_;  // what is left of the message that the socket holds
  std::size_t entryBytes_ = 0;                // of that message
  std::uint64_t consumed_ = 0;
  std::uint64_t consumedTold_ = 0;
  bool dispatching_ = false;
  bool topologyChanged_ = false;
  std::optional<wire::EventEntry> report_;  // a loss whose turn has not come; of entries_
  UncountedLosses uncounted_;
};

}  // namespace channel
