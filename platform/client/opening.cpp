#include "platform/client/opening.h"

#include <variant>

namespace client {

bool openChannel(Dealer& dealer, const wire::Body& message, const Deadline& deadline) {
  if (!dealer.send(1, message) || !dealer.waitThroughSignals(deadline)) return false;
  const auto answer = dealer.receive();
  if (!answer) return false;
  const auto envelope = wire::decode(*answer);
  if (!envelope) return false;
  const auto* result = std::get_if<wire::Result>(&envelope->body);
  return result != nullptr && result->status == wire::Status::Ok;
}

}  // namespace client
