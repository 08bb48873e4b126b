#include "platform/channel/control_channel.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace channel {
namespace {

// How often a sender that waits for the socket reads.
constexpr std::chrono::milliseconds ReadInterval{20};

}  // namespace

bool ControlChannel::greet(const Deadline& deadline) {
  const auto answer = askAnything(wire::Hello{}, deadline);
  const auto* welcome = answer ? std::get_if<wire::Welcome>(&*answer) : nullptr;
  const auto* result = answer ? std::get_if<wire::Result>(&*answer) : nullptr;
  isGreetingRefused_ = result != nullptr && result->status == device::Status::Refused;
  if (welcome != nullptr) welcome_ = *welcome;
  return welcome != nullptr;
}

std::string ControlChannel::whyNotGreeted() const {
  return isGreetingRefused_ ? "the service accepts no more clients of this user" : "the service does not answer";
}

bool ControlChannel::send(std::uint32_t eventPort, std::uint16_t group, std::span<const std::uint8_t> bytes) {
  return handOver(wire::Send{welcome_.session, eventPort, group, {bytes.begin(), bytes.end()}}, 1,
                  Patience::UntilItGoes);
}

bool ControlChannel::inject(const std::string& port, std::vector<wire::InjectItem> messages) {
  const std::uint64_t count = messages.size();
  return handOver(wire::Inject{welcome_.session, port, std::move(messages)}, count, Patience::TwoSeconds);
}

bool ControlChannel::finish() { return waitForRoom(0, Patience::TwoSeconds) && !refusal_; }

bool ControlChannel::handOver(const wire::Body& message, std::uint64_t messages, Patience patience) {
  // Reading costs as much as sending, so it is done only when half of the window is used up, or when the service may
  // wait until this client takes the rest of an answer.
  if (owed_ != Owed::Nothing || sent_ - taken_ >= (welcome_.sendWindow + 1) / 2) takeIn(0);
  if (owed_ == Owed::RestOfAnswer) awaitRest();
  if (forgotten_ || welcome_.sendWindow == 0 || !waitForRoom(welcome_.sendWindow - 1, patience) ||
      !connection_.send(0, message))
    return false;
  ++sent_;
  messages_ += messages;
  return waitForSocket(patience);
}

void ControlChannel::awaitRest() {
  const Deadline deadline(AnswerTime);
  while (owed_ == Owed::RestOfAnswer && !forgotten_ && connection_.waitThroughSignals(deadline)) takeIn(0, deadline);
  // If the service has stopped in the middle, the next message waits only when it goes on.
  if (owed_ == Owed::RestOfAnswer) owed_ = Owed::Answer;
}

bool ControlChannel::waitForSocket(Patience patience) {
  Deadline deadline(AnswerTime);
  for (std::size_t before = connection_.waiting(); !connection_.flush(Deadline(ReadInterval));) {
    // The service does not read from a client that does not read its answers.
    takeIn(0);
    if (forgotten_ || connection_.closed()) return false;
    const bool takesSome = connection_.waiting() < before || std::exchange(heard_, false);
    if (takesSome || untilItGoes(patience)) deadline = Deadline(AnswerTime);
    if (deadline.passed()) return false;
    before = connection_.waiting();
  }
  return true;
}

bool ControlChannel::waitForRoom(std::uint64_t onTheWay, Patience patience) {
  for (std::uint64_t before = taken_; sent_ - taken_ > onTheWay; before = taken_) {
    Deadline deadline(AnswerTime);
    while (taken_ == before) {
      if (std::exchange(heard_, false)) deadline = Deadline(AnswerTime);
      const bool waits = untilItGoes(patience);
      if (!connection_.waitThroughSignals(waits ? Deadline(AnswerTime) : deadline)) {
        if (!waits || connection_.closed()) return false;
      }
      takeIn(0);
      if (forgotten_) return false;
    }
  }
  return true;
}

std::optional<wire::Body> ControlChannel::askAnything(const wire::Body& request, const Deadline& deadline) {
  takeIn(0, deadline);
  if (forgotten_) return std::nullopt;
  if (++lastTag_ == 0) ++lastTag_;
  if (!connection_.send(lastTag_, request)) return std::nullopt;
  pieces_.clear();
  owed_ = Owed::Answer;
  do {
    if (!connection_.waitThroughSignals(deadline)) return std::nullopt;
    if (auto answer = takeIn(lastTag_, deadline)) return answer;
    if (forgotten_ || pieces_.fault() != wire::PieceJoiner::Fault::None) return std::nullopt;
  } while (!deadline.passed());
  return std::nullopt;
}

std::optional<std::string> ControlChannel::fault() const {
  if (connection_.gotTooLong()) return std::string(TooLongMessage);
  switch (pieces_.fault()) {
    case wire::PieceJoiner::Fault::None:
      break;
    case wire::PieceJoiner::Fault::TooLong:
      return "the service sent an answer that is too long";
    case wire::PieceJoiner::Fault::Unfitting:
      return "the service sent an answer whose pieces do not fit together";
  }
  return std::nullopt;
}

std::optional<wire::Body> ControlChannel::takeIn(std::uint32_t tag, const Deadline& deadline) {
  std::optional<wire::Body> answer;
  while (const auto message = connection_.receive()) {
    auto envelope = wire::decode(*message);
    if (!envelope) continue;
    const auto* result = std::get_if<wire::Result>(&envelope->body);
    if (result != nullptr && result->status == device::Status::NoSession) forgotten_ = true;
    if (result != nullptr && envelope->tag == 0) refusal_ = result->status;
    if (envelope->tag != 0 && owed_ != Owed::Nothing) {
      // The answers to older requests, which have timed out, come before the last one's.
      owed_ = !wire::isLast(envelope->body) ? Owed::RestOfAnswer
              : envelope->tag == lastTag_   ? Owed::Nothing
                                            : Owed::Answer;
    }
    if (const auto* taken = std::get_if<wire::Taken>(&envelope->body)) {
      if (taken->count <= sent_) taken_ = std::max(taken_, taken->count);
      if (taken->unsendable <= messages_) unsendable_ = std::max(unsendable_, taken->unsendable);
      heard_ = true;
    } else if (tag != 0 && envelope->tag == tag) {
      // Answers to requests that have timed out have older tags.
      if (auto whole = pieces_.add(std::move(envelope->body), message->size())) {
        answer = std::move(whole);
      }
      if (pieces_.fault() != wire::PieceJoiner::Fault::None) {
        connection_.close();
        break;
      }
    } else if (result != nullptr) {
      // Requests that have timed out have older tags.
      late_.answered(envelope->tag, result->status, result->graphVersion);
    }
    if (answer || deadline.passed()) break;
  }
  return answer;
}

}  // namespace channel
