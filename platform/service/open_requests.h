// Requests that are answered later.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <variant>
#include <vector>

#include "platform/device/driver.h"
#include "platform/device/port.h"
#include "platform/device/status.h"
#include "platform/service/client_id.h"

namespace service {

using device::RequestId;

// The answer to a request: at once, or later (see Service::takeAnswers).
struct Reply {
  std::optional<device::Status> status;  // nullopt: later
  RequestId request{};                   // valid if the answer comes later

  friend bool operator==(const Reply& reply, device::Status expected) { return reply.status == expected; }
};

// The later answer to a request.
struct Answer {
  RequestId request{};
  device::Status status{};

  friend bool operator==(const Answer&, const Answer&) = default;
};

// The requests without an answer, in the order in which they came, and the answers that nobody has taken yet.
class OpenRequests {
 public:
  // Waits until the driver can use the sources of a tap, or of a connection that the service carries. made: the tap or
  // connection did not exist before the request, and ends if a source cannot be used.
  struct Tap {
    ClientId client{};
    EventPortId eventPort{};
    device::PortId port;
    bool made = false;
  };
  struct Carried {
    device::Link link;
    bool made = false;
  };
  using Use = std::variant<Tap, Carried>;

  RequestId add(const Use& request);

  // A request that only answer ends: the driver's answer to a patch.
  RequestId addPatch();

  // Ends a patch with an answer, or without one. An unknown request is ignored.
  void answer(RequestId request, device::Status status);
  void drop(RequestId request) { patches_.erase(request); }

  // From now on, resolve looks at all Taps and Carrieds again, once.
  void review();

  // True while resolve has work.
  bool isReviewing() const { return reviewing_; }

  // Calls ready for up to `most` requests in order, and answers those for which it returns a status. ready must not
  // change this object.
  void resolve(const std::function<std::optional<device::Status>(const Use&)>& ready, std::size_t most);

  // The reply to a patch that was added: its answer, which takeAnswers then leaves out, or that there is none yet.
  Reply reply(RequestId request);

  // Forgets the taps that a client asked for: it gets no answer.
  void forget(ClientId client);

  // How many have no answer yet.
  std::size_t size() const { return patches_.size() + uses_.size(); }

  std::vector<Answer> takeAnswers() { return std::exchange(answers_, {}); }

 private:
  std::set<RequestId> patches_;
  std::map<RequestId, Use> uses_;
  std::set<std::pair<ClientId, RequestId>> taps_;  // those of uses_, by client
  std::vector<Answer> answers_;
  std::uint64_t last_ = 0;
  bool reviewing_ = false;
  bool again_ = false;    // a review follows
  RequestId reviewed_{};  // the last request that this review has looked at
};

}  // namespace service
