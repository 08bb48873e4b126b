// Requests that are answered later.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
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

  friend bool operator==(const Reply& reply, device::Status status) { return reply.status == status; }
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
  // Waits for the driver's answer to a patch.
  struct Patch {};

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
  using Request = std::variant<Patch, Tap, Carried>;

  RequestId add(Request request);

  // Ends a request with an answer, or without one. An unknown request is ignored.
  void answer(RequestId request, device::Status status);
  void drop(RequestId request) { open_.erase(request); }

  // Calls ready for each Tap and Carried in order, and answers those for which it returns a status.
  void resolve(const std::function<std::optional<device::Status>(const Request&)>& ready);

  // The reply to a request that was added: its answer, which takeAnswers then leaves out, or that there is none yet.
  Reply reply(RequestId request);

  // Forgets the taps that a client asked for: it gets no answer.
  void forget(ClientId client);

  // The taps of a port have moved to another.
  void move(device::PortId from, device::PortId to);

  std::vector<Answer> takeAnswers() { return std::exchange(answers_, {}); }

 private:
  std::map<RequestId, Request> open_;
  std::vector<Answer> answers_;
  std::uint64_t last_ = 0;
};

}  // namespace service
