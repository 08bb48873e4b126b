// Requests and Send messages of one client.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/channel/connection.h"
#include "platform/channel/connector.h"
#include "platform/channel/deadline.h"
#include "platform/channel/late_patches.h"
#include "platform/wire/messages.h"
#include "platform/wire/pieces.h"

namespace channel {

// The control socket. Not thread-safe: threads that share it hold a lock.
class ControlChannel {
 public:
  // Blocks as Connector::connect does. Throws an exception derived from std::exception if the system gives no socket.
  explicit ControlChannel(const Connector& connector, const Deadline& deadline = Deadline(AnswerTime))
      : connection_(connector.connect(deadline)), mayReturn_(connector.mayReturn()) {}

  // Introduces this client to the service. Returns false if the service does not answer in time, or refuses.
  bool greet(const Deadline& deadline);

  // After greet has returned false: why, in words.
  std::string whyNotGreeted() const;

  // The number of the session; 0 until the service has answered a greeting.
  std::uint64_t session() const { return welcome_.session; }

  // What the other channels of this client show to the service.
  const wire::Welcome& welcome() const { return welcome_; }

  // Sends a request and waits for the answer, with all its pieces. Returns nullopt if it has not arrived in time or if
  // it has another type, and without waiting if the service is known to have forgotten this client. If the service
  // sends more than an answer may have, the connection is closed; fault says so then.
  template <class Answer>
  std::optional<Answer> ask(const wire::Body& request, const Deadline& deadline = Deadline(AnswerTime)) {
    auto answer = askAnything(request, deadline);
    if (!answer || !std::holds_alternative<Answer>(*answer)) return std::nullopt;
    return std::get<Answer>(std::move(*answer));
  }

  // The tag of the last request that was asked.
  std::uint32_t lastTag() const { return lastTag_; }

  // The Patch requests that had no answer in time. Their answers are handed in when they are read.
  LatePatches& late() { return late_; }

  // Reads what has arrived. Does not block.
  void read() { takeIn(0); }

  // True if the system has taken everything that was sent. A service that is stopped may read it later.
  bool allHandedOver() const { return connection_.waiting() == 0; }

  // Sends a request without waiting for its answer. Does not block.
  void tell(const wire::Body& request) { connection_.send(0, request); }

  // Handles what the service has said about messages that are on their way. Does not block.
  void look() {
    if (sent_ != taken_) takeIn(0);
  }

  // How many of the messages that were sent or injected another system has no form for, as far as the service has
  // said: after finish, and after the answer to a Goodbye, it has said all. It sends Taken after each round of its
  // loop, which look and all calls that wait for the service handle.
  std::uint64_t unsendable() const { return unsendable_; }

  // What is wrong with what the service sent, if this client has closed the connection because of it; a text without
  // its end, in words for the user. Otherwise nullopt.
  std::optional<std::string> fault() const;

  // True if the connection is closed or the service has forgotten this client: no request gets an answer any more.
  bool lost() { return forgotten_ || connection_.closed(); }

  // Sends a message; not empty, and at most device::MaxMessageBytes. Blocks only while the service is behind by the
  // whole window, or by what the socket holds, for as long as that lasts: a stopped service of another process takes
  // the message when it continues; and for two seconds at most while the rest of an answer arrives that had no answer
  // in time, because the service may read nothing before it is taken. Returns false at once if the connection is closed
  // or the service is known to have forgotten this client; messages sent just before that is known are lost. Within the
  // process, where nothing stops a service alone, returns false if the service takes nothing for two seconds and does
  // not say that its device holds it back.
  bool send(std::uint32_t eventPort, std::uint16_t group, std::span<const std::uint8_t> bytes);

  // Sends messages to pass through the device port of this name. No message is empty, and the frame of all of them has
  // at most 1 MiB. Blocks and fails as send does within the process.
  bool inject(const std::string& port, std::vector<wire::InjectItem> messages);

  // Waits until the service has taken everything that was sent. Returns false if it takes nothing for two seconds and
  // does not say that it is held back, if the connection is closed, or if the service has refused something.
  bool finish();

  // The status of the last message that the service refused to inject; nullopt if it refused none.
  std::optional<device::Status> refusal() const { return refusal_; }

 private:
  enum class Patience : std::uint8_t { TwoSeconds, UntilItGoes };
  // What has not been read of the answers to the requests.
  enum class Owed : std::uint8_t { Nothing, Answer, RestOfAnswer };

  // Waits until at most onTheWay frames are not taken yet.
  bool waitForRoom(std::uint64_t onTheWay, Patience patience);
  // messages: how many are in it.
  bool handOver(const wire::Body& message, std::uint64_t messages, Patience patience);
  // Waits for the rest of an answer that nobody waits for any more.
  void awaitRest();
  // Waits until the socket has taken everything.
  bool waitForSocket(Patience patience);
  bool untilItGoes(Patience patience) const { return patience == Patience::UntilItGoes && mayReturn_; }
  std::optional<wire::Body> askAnything(const wire::Body& request, const Deadline& deadline);
  // Handles the messages that are ready, until the deadline. Returns the answer with this tag if it is complete.
  std::optional<wire::Body> takeIn(std::uint32_t tag, const Deadline& deadline = Deadline(AnswerTime));

  Connection connection_;
  bool mayReturn_;         // see Connector
  wire::Welcome welcome_;  // session 0 until the service has answered
  std::uint32_t lastTag_ = 0;
  wire::PieceJoiner pieces_;  // of the answer to the last request
  std::uint64_t sent_ = 0;
  std::uint64_t taken_ = 0;
  std::uint64_t messages_ = 0;  // in what was sent
  std::uint64_t unsendable_ = 0;
  bool heard_ = false;      // a Taken message arrived, even if taken_ did not grow
  bool forgotten_ = false;  // by the service
  Owed owed_ = Owed::Nothing;
  bool isGreetingRefused_ = false;
  std::optional<device::Status> refusal_;
  LatePatches late_;
};

}  // namespace channel
