#include "platform/channel/graph_channel.h"

#include <variant>

namespace channel {
namespace {

// The service waits for GraphSeen only after many more changes (wire::MinGraphWindow).
constexpr std::uint64_t TellAfterChanges = wire::MinGraphWindow / 4;

// More changes than are ever on their way from a service that follows the rules.
constexpr int ChangesAtOnce = 10'000;

}  // namespace

Opening GraphChannel::open(const Deadline& deadline) {
  if (opening_ != Opening::NotYet) return opening_;
  if (!asked_) asked_ = askToOpen(connection_, wire::OpenGraph{welcome_.session, welcome_.token});
  if (asked_) opening_ = waitForOpening(connection_, deadline);
  return opening_;
}

bool GraphChannel::drain(LinkMirror& mirror) {
  bool complete = true;
  for (int taken = 0; taken < ChangesAtOnce; ++taken) {
    const auto message = connection_.receive();
    if (!message) break;
    const auto envelope = wire::decode(*message);
    if (!envelope) continue;
    if (std::holds_alternative<wire::GraphStale>(envelope->body)) complete = false;
    if (const auto* change = std::get_if<wire::GraphChanged>(&envelope->body)) {
      if (!mirror.apply(*change)) complete = false;
    }
  }
  if (mirror.version() - told_ >= TellAfterChanges) {
    told_ = mirror.version();
    connection_.send(0, wire::GraphSeen{welcome_.session, told_});
  }
  return complete;
}

}  // namespace channel
