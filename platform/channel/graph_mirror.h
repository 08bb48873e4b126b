// A client's copy of the patch graph, kept up to date.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "platform/channel/deadline.h"
#include "platform/channel/graph_channel.h"
#include "platform/channel/link_mirror.h"

namespace channel {

// The mirror, and the channel that brings its changes. The first question opens the channel. Not thread-safe: threads
// that share it hold a lock.
class GraphMirror {
 public:
  // What the mirror shows of the service's graph.
  enum class Freshness : std::uint8_t {
    Current,    // all that had arrived a moment ago, and all that this client did
    Stale,      // the service did not answer in time, or was not asked
    Forgotten,  // the service does not know this client any more
  };

  // connector must outlive this object.
  explicit GraphMirror(const Connector& connector) : connector_(connector) {}

  // Reads the changes that have arrived. Fetches the whole graph if it must and mayAsk is true; blocks until the
  // deadline at most.
  Freshness update(ControlChannel& control, bool mayAsk, const Deadline& deadline);

  // Like update, but reads no changes again for a moment, and asks nothing of a service that is lost.
  Freshness look(ControlChannel& control, bool mayAsk, const Deadline& deadline);

  // Waits until the mirror shows this version of the graph, which the service has given.
  Freshness waitFor(std::uint64_t version, ControlChannel& control, bool mayAsk, const Deadline& deadline);

  // Reads the changes that have arrived, if the mirror is valid. They would be lost with their channel.
  void follow();

  // Closes the channel. Afterwards the mirror holds what was known last.
  void close();

  // True if the graph was fetched since the last call of forget.
  bool isKnown() const { return isKnown_; }
  void forget() { isKnown_ = false; }

  LinkMirror& links() { return links_; }

 private:
  Freshness open(const wire::Welcome& welcome, bool mayAsk, const Deadline& deadline);

  const Connector& connector_;
  std::optional<GraphChannel> channel_;
  LinkMirror links_;
  bool isValid_ = false;
  bool isKnown_ = false;
  std::chrono::steady_clock::time_point nextLook_;
};

}  // namespace channel
