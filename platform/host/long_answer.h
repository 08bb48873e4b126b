// Answers that may be too long for one message.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/host/settings.h"
#include "platform/service/service.h"
#include "platform/wire/messages.h"

namespace host {

class SessionTable;

// An answer in pieces, between which others are served (see wire::Part). What it lists may change between them.
class LongAnswer {
 public:
  struct Piece {
    wire::Body body;
    bool more = false;    // this is not the last one
    bool atOnce = false;  // send the rest in the same turn: it would never end otherwise
  };

  LongAnswer() = default;
  LongAnswer(const LongAnswer&) = delete;
  LongAnswer& operator=(const LongAnswer&) = delete;
  virtual ~LongAnswer() = default;

  // The next piece. Takes about a millisecond. Must not be called after the last one.
  virtual Piece next() = 0;
};

// The arguments must outlive the answer. Handles are offset by firstHandle (see Settings::firstHandle).

// The ports of the device. Leaves out groups and sides all of whose ports are removed. All pieces show one moment: if
// the topology changes between them, the answer begins anew. When that has happened three times, the pieces follow at
// once, unless they have very many names.
std::unique_ptr<LongAnswer> topologyAnswer(const service::Service& service, std::uint64_t firstHandle);

// The names in other systems, likewise. A name beyond 1,024 bytes is cut.
std::unique_ptr<LongAnswer> originalsAnswer(const service::Service& service, std::uint64_t firstHandle);

// The connections of the device: see Service::connectionsAfter.
std::unique_ptr<LongAnswer> linksAnswer(const service::Service& service, std::uint64_t firstHandle);

// The counts of the service and its clients. A client that connects or disconnects between two pieces may be listed.
std::unique_ptr<LongAnswer> statsAnswer(const service::Service& service, const SessionTable& sessions,
                                        const Settings& settings);

}  // namespace host
