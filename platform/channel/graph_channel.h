// Changes of the patch graph for one client.
#pragma once

#include <cstdint>

#include "platform/channel/connection.h"
#include "platform/channel/connector.h"
#include "platform/channel/deadline.h"
#include "platform/channel/link_mirror.h"
#include "platform/channel/opening.h"

namespace channel {

// The graph socket. Not thread-safe: threads that share it hold a lock.
class GraphChannel {
 public:
  // Blocks as Connector::connect does. Throws an exception derived from std::exception if the system gives no socket.
  GraphChannel(const Connector& connector, const wire::Welcome& welcome, const Deadline& deadline)
      : connection_(connector.connect(deadline)), welcome_(welcome) {}

  // Asks for changes, unless it has asked already, and waits for the answer. NotYet: no answer in time; call again,
  // because the service would take a channel that closes with its question open for a client that died.
  Opening open(const Deadline& deadline);

  bool isOpen() const { return opening_ == Opening::Opened; }

  // True if the connection is closed.
  bool lost() { return connection_.closed(); }

  // Applies all changes that have arrived to the mirror; does not block. Returns false if the mirror must be reset
  // first: there were too many changes, or some are missing.
  bool drain(LinkMirror& mirror);

  // Waits for changes. Returns false if none arrives in time.
  bool wait(const Deadline& deadline) { return connection_.waitThroughSignals(deadline); }

 private:
  Connection connection_;
  wire::Welcome welcome_;
  bool asked_ = false;
  Opening opening_ = Opening::NotYet;
  std::uint64_t told_ = 0;  // the mirror's version that the service was last told
};

}  // namespace channel
