// News of the patch graph for one client.
#pragma once

#include <cstdint>
#include <string>
#include <zmq.hpp>

#include "platform/client/deadline.h"
#include "platform/client/dealer.h"
#include "platform/client/link_mirror.h"
#include "platform/client/opening.h"

namespace client {

// The graph socket. One thread at a time; who hands it from thread to thread does so under a lock.
class GraphChannel {
 public:
  // Throws zmq::error_t when there is no such address, or the context gives no socket.
  GraphChannel(zmq::context_t& context, const std::string& address, std::uint64_t session)
      : dealer_(context, address), session_(session) {}

  // Asks for news, unless it has asked already, and waits for the answer. NotYet: it has not come in time; call again,
  // for a channel that is given up while its question waits would be taken for a client that has died.
  Opening open(const Deadline& deadline);

  bool isOpen() const { return opening_ == Opening::Opened; }

  // Brings the mirror up to what has arrived; does not wait. False when the mirror must be reset first: news were
  // too many, or are missing.
  bool drain(LinkMirror& mirror);

  // Waits for news. False: none have come in time.
  bool wait(const Deadline& deadline) { return dealer_.waitThroughSignals(deadline); }

 private:
  Dealer dealer_;
  std::uint64_t session_;
  bool asked_ = false;
  Opening opening_ = Opening::NotYet;
  std::uint64_t told_ = 0;  // the version that the service knows the mirror to have
};

}  // namespace client
