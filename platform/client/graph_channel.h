// Changes of the patch graph for one client.
#pragma once

#include <cstdint>
#include <string>
#include <zmq.hpp>

#include "platform/client/deadline.h"
#include "platform/client/dealer.h"
#include "platform/client/link_mirror.h"
#include "platform/client/opening.h"

namespace client {

// The graph socket. Not thread-safe: threads that share it hold a lock.
class GraphChannel {
 public:
  // Throws zmq::error_t if there is no such address, or if the context gives no socket.
  GraphChannel(zmq::context_t& context, const std::string& address, std::uint64_t session)
      : dealer_(context, address), session_(session) {}

  // Asks for changes, unless it has asked already, and waits for the answer. NotYet: no answer in time; call again,
  // because the service would take a channel that closes with its question open for a client that died.
  Opening open(const Deadline& deadline);

  bool isOpen() const { return opening_ == Opening::Opened; }

  // Applies all changes that have arrived to the mirror; does not block. Returns false if the mirror must be reset
  // first: there were too many changes, or some are missing.
  bool drain(LinkMirror& mirror);

  // Waits for changes. Returns false if none arrives in time.
  bool wait(const Deadline& deadline) { return dealer_.waitThroughSignals(deadline); }

 private:
  Dealer dealer_;
  std::uint64_t session_;
  bool asked_ = false;
  Opening opening_ = Opening::NotYet;
  std::uint64_t told_ = 0;  // the mirror's version that the service was last told
};

}  // namespace client
