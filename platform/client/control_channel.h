// Requests and Send messages of one client.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>
#include <zmq.hpp>

#include "platform/client/deadline.h"
#include "platform/client/dealer.h"
#include "platform/wire/messages.h"

namespace client {

// The control socket. One thread at a time; who hands it from thread to thread does so under a lock.
class ControlChannel {
 public:
  // Throws zmq::error_t when there is no such address, or the context gives no socket.
  ControlChannel(zmq::context_t& context, const std::string& address) : dealer_(context, address) {}

  // Makes the service know this client. False when it has not answered in time.
  bool greet(const std::string& program, const Deadline& deadline);

  // Number of the session, 0 before a greeting was answered.
  std::uint64_t session() const { return session_; }

  // Asks, and waits for the answer: nothing when none came in time, or another than expected, and at once when the
  // service is known to have forgotten this client.
  template <class Answer>
  std::optional<Answer> ask(const wire::Body& request, const Deadline& deadline = Deadline(AnswerTime)) {
    auto answer = askAnything(request, deadline);
    if (!answer || !std::holds_alternative<Answer>(*answer)) return std::nullopt;
    return std::get<Answer>(std::move(*answer));
  }

  // Hands over a request whose answer nobody waits for. Does not wait itself.
  void tell(const wire::Body& request) { dealer_.send(0, request); }

  // True when the service has gone or has forgotten this client: nothing is answered any more.
  bool lost() { return forgotten_ || dealer_.closed(); }

  // Hands over a message; not empty, and of device::MaxMessageBytes at most. Waits only while the service is behind by
  // the whole window, for as long as that lasts: a service of another process that is stopped takes it when it goes on.
  // False at once when the service has gone or is known to have forgotten this client; what was handed over just before
  // that is known is lost. Within the process, where no connection closes, false when it takes nothing for two seconds,
  // nor says that it is held back by its device.
  bool send(std::uint32_t eventPort, std::uint16_t group, std::span<const std::uint8_t> bytes);

  // Hands over messages to pass through the device port of this name; each not empty, and all together in a frame of
  // at most 1 MiB. Waits and fails like send within the process does.
  bool inject(const std::string& port, std::vector<wire::InjectItem> messages);

  // Waits until the service has taken everything that was handed over. False when it takes nothing for two seconds, nor
  // says that it is held back, has gone, or has refused something.
  bool finish();

  // What the service has refused to inject, if anything: the status of the last refusal.
  std::optional<device::Status> refusal() const { return refusal_; }

 private:
  enum class Patience : std::uint8_t { TwoSeconds, UntilItGoes };

  // Waits until at most so many frames are on their way.
  bool waitForRoom(std::uint64_t onTheWay, Patience patience);
  bool handOver(const wire::Body& message, Patience patience);
  std::optional<wire::Body> askAnything(const wire::Body& request, const Deadline& deadline);
  // Takes in what stands ready; the answer with this tag when it is among it.
  std::optional<wire::Body> takeIn(std::uint32_t tag);

  Dealer dealer_;
  std::uint64_t session_ = 0;
  std::uint32_t lastTag_ = 0;
  std::uint32_t window_ = 0;
  std::uint64_t sent_ = 0;
  std::uint64_t taken_ = 0;
  bool heard_ = false;      // of taken_ again, also when it has not grown
  bool forgotten_ = false;  // by the service
  std::optional<device::Status> refusal_;
};

}  // namespace client
