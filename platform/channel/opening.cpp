#include "platform/channel/opening.h"

#include <optional>
#include <variant>

namespace channel {
namespace {

constexpr std::uint32_t Tag = 1;

}  // namespace

bool askToOpen(Connection& connection, const wire::Body& message) { return connection.send(Tag, message); }

Opening waitForOpening(Connection& connection, const Deadline& deadline) {
  while (connection.waitThroughSignals(deadline)) {
    const auto answer = connection.receive();
    const auto envelope = answer ? wire::decode(*answer) : std::nullopt;
    if (!envelope || envelope->tag != Tag) continue;
    const auto* result = std::get_if<wire::Result>(&envelope->body);
    return result != nullptr && result->status == device::Status::Ok ? Opening::Opened : Opening::Refused;
  }
  return Opening::NotYet;
}

}  // namespace channel
