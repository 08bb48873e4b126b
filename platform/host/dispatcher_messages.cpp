// MIDI messages from clients.
#include <algorithm>

#include "platform/host/dispatcher.h"
#include "platform/wire/message_front.h"
#include "platform/wire/message_kinds.h"

namespace host {
namespace {

// Messages of one frame that are handled in one piece.
constexpr int MessagesAtOnce = 16;

// A piece ends early when it has made so many copies.
constexpr std::uint64_t CopiesAtOnce = 1000;

}  // namespace

bool Dispatcher::isForDevice(std::span<const std::uint8_t> message) {
  return wire::kindOf(message) == wire::KindOf<wire::Send> || wire::InjectFrame::claims(message);
}

std::uint64_t Dispatcher::copiesMade() const {
  const service::Counts counts = service_.counts();
  return counts.out + counts.lost;
}

void Dispatcher::handle(const Request& request, wire::Send& message) {
  Session* session = sessions_.find(message.session);
  if (session == nullptr || session->control != request.from) {
    // Answered even without a tag: nothing else says that the message was not delivered.
    connections_.send(request.from,
                      wire::encode(request.tag, wire::Result{device::Status::NoSession, service_.graphVersion()}));
    return;
  }
  service_.send(session->client, toPort(message.eventPort), {message.group, message.bytes}, request.now);
  if (service_.isPassing()) {
    unfinished_[request.from] = {};
  } else {
    countTaken(*session);
  }
}

Handled Dispatcher::handleInject(Request& request, std::span<const std::uint8_t> message) {
  auto frame = wire::InjectFrame::open(message);
  request.tag = wire::tagOf(message).value_or(0);
  if (!frame) {
    answer(request, device::Status::BadRequest);
    return {};
  }
  return inject(request, *frame);
}

Handled Dispatcher::goOn(Request& request, std::span<const std::uint8_t> message) {
  const auto rest = unfinished_.extract(request.from);
  request.tag = wire::tagOf(message).value_or(0);
  wire::InjectFrame frame(message, rest.mapped());
  return inject(request, frame);
}

Handled Dispatcher::inject(const Request& request, wire::InjectFrame& frame) {
  Session* session = sessions_.find(frame.session());
  device::Status status = device::Status::NoSession;
  int messages = 0;
  if (session != nullptr && session->control == request.from) {
    status = device::Status::Ok;
    const std::uint64_t copies = copiesMade();
    while (messages < MessagesAtOnce && copiesMade() - copies < CopiesAtOnce && !service_.isPassing()) {
      const auto item = frame.next();
      if (!item) break;
      ++messages;
      status = service_.inject(session->client, frame.name(), {item->group, item->bytes}, request.now);
      if (status != device::Status::Ok) break;
    }
    if (status == device::Status::Ok && (frame.position().items > 0 || service_.isPassing())) {
      unfinished_[request.from] = frame.position();
      return {.all = false, .turns = std::max(messages, 1)};
    }
    countTaken(*session);
  }
  // Answered even without a tag, as for Send.
  if (status != device::Status::Ok) {
    connections_.send(request.from, wire::encode(request.tag, wire::Result{status, service_.graphVersion()}));
  }
  return {.all = true, .turns = std::max(messages, 1)};
}

}  // namespace host
