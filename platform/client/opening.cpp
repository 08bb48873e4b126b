#include "platform/client/opening.h"

#include <cstdint>
#include <optional>
#include <variant>

namespace client {

bool openChannel(Dealer& dealer, const wire::Body& message, const Deadline& deadline) {
  constexpr std::uint32_t Tag = 1;
  if (!dealer.send(Tag, message)) return false;
  while (dealer.waitThroughSignals(deadline)) {
    const auto answer = dealer.receive();
    const auto envelope = answer ? wire::decode(*answer) : std::nullopt;
    if (!envelope || envelope->tag != Tag) continue;
    const auto* result = std::get_if<wire::Result>(&envelope->body);
    return result != nullptr && result->status == wire::Status::Ok;
  }
  return false;
}

}  // namespace client
