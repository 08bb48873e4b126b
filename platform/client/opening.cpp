#include "platform/client/opening.h"

#include <optional>
#include <variant>

namespace client {
namespace {

constexpr std::uint32_t Tag = 1;

}  // namespace

bool askToOpen(Dealer& dealer, const wire::Body& message) { return dealer.send(Tag, message); }

Opening waitForOpening(Dealer& dealer, const Deadline& deadline) {
  while (dealer.waitThroughSignals(deadline)) {
    const auto answer = dealer.receive();
    const auto envelope = answer ? wire::decode(*answer) : std::nullopt;
    if (!envelope || envelope->tag != Tag) continue;
    const auto* result = std::get_if<wire::Result>(&envelope->body);
    return result != nullptr && result->status == device::Status::Ok ? Opening::Opened : Opening::Refused;
  }
  return Opening::NotYet;
}

}  // namespace client
